// SPDX-License-Identifier: GPL-3.0-or-later
#include "PresetText/PresetValueText.h"

#include "Audio/Converters/CAudioParamConverterEnum.h"
#include "Audio/Converters/CAudioParamConverterRatio.h"
#include "Audio/Parameters/CAudioParamInfo.h"

#include <bit>
#include <charconv>
#include <cmath>

namespace kor
{

namespace
{

constexpr std::string_view bitsMark = "bits:";
constexpr int mostDecimals = 17;
constexpr double mostShown = 1e15;                  // beyond, a double has no decimals and a text is all digits

bool sameBits(double a, double b) noexcept
{
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

// Marks, line separators and directions that would change how the text around them looks.
bool isHidden(char16_t c) noexcept
{
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0xAD || (c >= 0x200B && c <= 0x200F) ||
           (c >= 0x2028 && c <= 0x202E) || (c >= 0x2060 && c <= 0x206F) || c == 0xFEFF;
}

bool isPairAt(const CStringBuf& text, int i) noexcept
{
    return (text[i] & 0xFC00) == 0xD800 && i + 1 < text.length() && (text[i + 1] & 0xFC00) == 0xDC00;
}

std::string fixedNumber(double value, int decimals)
{
    char digits[512];
    const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, decimals).ptr;
    return {digits, end};
}

// The states of a list that the user may change are told by their numbers alone: their names would mean another state
// on another machine.
bool hasLastingNames(const CAudioParamInfo& info)
{
    return !info.stateNamesText.startsWith("@");
}

bool isNameOf(const CAudioParamInfo& info, int component, double state, const CStringBuf& text)
{
    const auto lower = [](char16_t c) { return c >= 'A' && c <= 'Z' ? static_cast<char16_t>(c + 32) : c; };
    for (const CAudioParamTextMode mode : {CAudioParamTextMode::normal, CAudioParamTextMode::compact})
    {
        CStringBuf name;
        info.converter(component)->format(name, info, component, state, mode);
        bool isSame = name.length() == text.length();
        for (int i = 0; isSame && i < name.length(); ++i)
            isSame = lower(name[i]) == lower(text[i]);
        if (isSame)
            return true;
    }
    return false;
}

std::string withUnit(const CAudioParamInfo& info, int component, std::string number)
{
    const CStringBuf& unit = info.converter(component)->label();
    return unit.isEmpty() ? number : number + ' ' + unit.toUtf8();
}

CError outsideRange(const CAudioParamInfo& info, int component, const std::string& text)
{
    CStringBuf low;
    CStringBuf high;
    info.converter(component)->format(low, info, component, info.minValue(component));
    info.converter(component)->format(high, info, component, info.maxValue(component));
    if (hasLastingNames(info) && info.hasStateNames())
    {
        low = CStringBuf::fromDouble(info.minValue(component));
        high = CStringBuf::fromDouble(info.maxValue(component));
    }
    return KOR_FAIL("'%1' is outside of the range from %2 to %3", text, withUnit(info, component, low.toUtf8()),
                    withUnit(info, component, high.toUtf8()));
}

CError parseState(const CAudioParamInfo& info, int component, const std::string& text, double& value)
{
    const CStringBuf given = CStringBuf::fromUtf8(text);
    bool isNumber = false;
    double number = given.toInt(isNumber);
    if (hasLastingNames(info))
    {
        bool ok = false;
        const double state = info.converter(component)->parse(info, component, given, ok);
        if (ok && isNameOf(info, component, state, given))
        {
            value = state;
            return {};
        }
    }
    if (!isNumber)
        return KOR_FAIL("'%1' is no state of this parameter", text);
    if (info.clamp(component, number) != number)
        return outsideRange(info, component, text);
    value = number;
    return {};
}

std::string withoutUnit(const std::string& text, const std::string& unit)
{
    if (unit.empty() || !text.ends_with(unit))
        return text;
    const std::size_t last = text.find_last_not_of(' ', text.size() - unit.size() - 1);
    return text.substr(0, last == std::string::npos || text.size() == unit.size() ? 0 : last + 1);
}

CError parseNumber(const CAudioParamInfo& info, int component, const std::string& text, double& value)
{
    const CAudioParamConverter& converter = *info.converter(component);
    const std::string unit = converter.label().toUtf8();
    bool ok = false;
    const double number = converter.parseBare(CStringBuf::fromUtf8(withoutUnit(text, unit)), ok);
    if (!ok)
        return KOR_FAIL("'%1' is no number%2", text, unit.empty() ? unit : " in " + unit);
    if (!(info.clamp(component, number) == number))
        return outsideRange(info, component, text);
    value = number;
    return {};
}

bool readsAs(const CAudioParamInfo& info, int component, const std::string& text, double value)
{
    double read = 0.0;
    CError unreadable = parseShownNumber(info, component, text, read);
    return !unreadable && sameBits(read, value);
}

std::string shownState(const CAudioParamInfo& info, int component, double value)
{
    if (hasLastingNames(info))
    {
        CStringBuf name;
        info.converter(component)->format(name, info, component, value);
        const std::string text = name.toUtf8();
        if (name.trimmed() == name && readsAs(info, component, text, value))
            return text.find_first_of(presetMarks) == std::string::npos && text != presetNothing ? text
                                                                                                  : quotedText(name);
    }
    const std::string number = fixedNumber(value, 0);
    return readsAs(info, component, number, value) ? number : std::string();
}

// Converters tell no value in their unit but through a position in a range, which costs digits. What they make of 0 and
// 1 tells their law: a factor, or decibels and the like.
double displayOf(const CAudioParamConverter& converter, double value)
{
    bool ok = false;
    const double zero = converter.parseBare("0", ok);
    const double one = converter.parseBare("1", ok);
    return zero == 0.0 ? value / one : std::log(value) / std::log(one);
}

std::string shortestText(const CAudioParamInfo& info, int component, double display, double value,
                         const std::string& behind)
{
    if (!(std::fabs(display) < mostShown))
        return {};
    for (int decimals = 0; decimals <= mostDecimals; ++decimals)
    {
        const std::string text = fixedNumber(display, decimals) + behind;
        if (readsAs(info, component, text, value))
            return text;
    }
    return {};
}

std::string shownInUnit(const CAudioParamInfo& info, int component, double value)
{
    const CAudioParamConverter& converter = *info.converter(component);
    std::string text;
    if (dynamic_cast<const CAudioParamConverterRatio*>(&converter) != nullptr && value > 0 && value < 1)
        text = shortestText(info, component, 1.0 / value, value, ":1");
    if (text.empty())
        text = shortestText(info, component, displayOf(converter, value), value, "");
    return text.empty() ? text : withUnit(info, component, text);
}

}

std::string quotedText(const CStringBuf& text)
{
    std::string out = "\"";
    for (int i = 0; i < text.length(); ++i)
    {
        const char16_t c = text[i];
        const bool isPair = isPairAt(text, i);
        if (c == u'"' || c == u'\\')
            out += {'\\', static_cast<char>(c)};
        else if (c == u'\n')
            out += "\\n";
        else if (c == u'\r')
            out += "\\r";
        else if (c == u'\t')
            out += "\\t";
        else if (isHidden(c) || ((c & 0xF800) == 0xD800 && !isPair))
            out += "\\u" + CStringBuf::fromInt(c, 4, 16).toUtf8();
        else
            out += text.substr(i, isPair ? 2 : 1).toUtf8();
        i += isPair ? 1 : 0;
    }
    return out + '"';
}

std::string storedNumber(double value)
{
    char digits[64];
    if (!std::isfinite(value))
    {
        const auto end = std::to_chars(digits, digits + sizeof digits, std::bit_cast<std::uint64_t>(value), 16).ptr;
        return std::string(bitsMark) + std::string(digits, end);
    }
    return {digits, std::to_chars(digits, digits + sizeof digits, value).ptr};
}

bool parseStoredNumber(std::string_view text, double& value)
{
    const char* const end = text.data() + text.size();
    if (text.starts_with(bitsMark))
    {
        std::uint64_t bits = 0;
        const auto read = std::from_chars(text.data() + bitsMark.size(), end, bits, 16);
        if (read.ec != std::errc() || read.ptr != end)
            return false;
        value = std::bit_cast<double>(bits);
        return true;
    }
    double number = 0.0;
    const auto read = std::from_chars(text.data(), end, number);
    if (read.ec != std::errc() || read.ptr != end || !std::isfinite(number))
        return false;
    value = number;
    return true;
}

std::string shownNumber(const CAudioParamInfo& info, int component, double value)
{
    const bool isState = dynamic_cast<const CAudioParamConverterEnum*>(info.converter(component)) != nullptr;
    const bool isInRange = info.clamp(component, value) == value;
    std::string text;
    if (isInRange)
        text = isState ? shownState(info, component, value) : shownInUnit(info, component, value);
    return text.empty() ? "=" + storedNumber(value) : text;
}

CError parseShownNumber(const CAudioParamInfo& info, int component, const std::string& text, double& value)
{
    if (text.starts_with('='))
        return parseStoredNumber(std::string_view(text).substr(1), value)
                   ? CError()
                   : KOR_FAIL("'%1' is no stored number", text);
    const bool isState = dynamic_cast<const CAudioParamConverterEnum*>(info.converter(component)) != nullptr;
    return isState ? parseState(info, component, text, value) : parseNumber(info, component, text, value);
}

}
