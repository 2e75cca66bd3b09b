// SPDX-License-Identifier: GPL-3.0-or-later
// Text and numbers, text and UTF-8. Nothing here looks at the locale: a comma in the user's country must not change
// what a tree or a preset means.
#include "Core/CStringBuf.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace kor
{

namespace
{

bool isDigit(char16_t c) noexcept
{
    return c >= '0' && c <= '9';
}

// 255 for anything that is no digit in any radix.
unsigned digitValue(char16_t c) noexcept
{
    if (isDigit(c))
        return c - u'0';
    if (c >= 'a' && c <= 'z')
        return c - u'a' + 10u;
    if (c >= 'A' && c <= 'Z')
        return c - u'A' + 10u;
    return 255;
}

void appendCodePoint(CStringBuf& text, std::uint32_t code)
{
    if (code > 0x10FFFF)
        return;                                     // no pair of units can say it
    if (code > 0xFFFF)
    {
        text.append(static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10)));
        text.append(static_cast<char16_t>(0xDC00 + (code & 0x3FF)));
        return;
    }
    text.append(static_cast<char16_t>(code));
}

}

int CStringBuf::toInt(bool& ok) const noexcept
{
    ok = false;
    int i = 0;
    const bool negative = count > 0 && at(0) == '-';
    if (negative)
        ++i;
    unsigned radix = 10;
    if (i < count && (at(i) == '#' || at(i) == '$'))
    {
        radix = 16;
        ++i;
    }
    else if (i + 1 < count && at(i) == '0' && (at(i + 1) == 'x' || at(i + 1) == 'X'))
    {
        radix = 16;
        i += 2;
    }
    if (i >= count)
        return 0;
    std::uint64_t magnitude = 0;
    for (; i < count; ++i)
    {
        const unsigned digit = digitValue(at(i));
        if (digit >= radix)
            return 0;
        magnitude = magnitude * radix + digit;
        if (magnitude > 0xFFFFFFFFu)
            return 0;
    }
    // Hexadecimal texts are bit patterns as often as numbers (a colour with its alpha), so they may fill all 32 bits.
    const std::uint64_t limit = negative ? 0x80000000u : radix == 16 ? 0xFFFFFFFFu : 0x7FFFFFFFu;
    if (magnitude > limit)
        return 0;
    ok = true;
    const auto bits = static_cast<std::uint32_t>(magnitude);
    return static_cast<std::int32_t>(negative ? 0u - bits : bits);
}

double CStringBuf::toDouble(bool& ok) const noexcept
{
    ok = false;
    if (count == 0)
        return 0.0;
    const int first = at(0) == '-' ? 1 : 0;
    int separators = 0;
    bool wholeIsZero = true;
    for (int i = first; i < count; ++i)
    {
        const char16_t c = at(i);
        if (c == '.' || c == ',')
        {
            if (++separators > 1)
                return 0.0;
        }
        else if (!isDigit(c))
            return 0.0;
        else if (separators == 0 && c != '0')
            wholeIsZero = false;
    }

    // The text with a point, and with a digit in front so that a bare sign or separator reads as zero.
    char small[128];
    char* digits = small;
    const std::size_t size = static_cast<std::size_t>(count) + 2;
    if (size > sizeof small)
        digits = static_cast<char*>(needBlock(size));
    char* end = digits;
    if (first == 1)
        *end++ = '-';
    *end++ = '0';
    for (int i = first; i < count; ++i)
        *end++ = at(i) == ',' ? '.' : static_cast<char>(at(i));

    double value = 0.0;
    const std::from_chars_result result = std::from_chars(digits, end, value, std::chars_format::fixed);
    if (digits != small)
        freeBlock(digits);
    if (result.ec == std::errc::result_out_of_range)
    {
        if (!wholeIsZero)
            return 0.0;                             // above the largest double
        value = first == 1 ? -0.0 : 0.0;            // below the smallest
    }
    ok = true;
    return value;
}

CStringBuf CStringBuf::fromInt(long long value, int minDigits, int radix)
{
    char digits[66];
    radix = std::clamp(radix, 2, 36);
    auto magnitude = static_cast<unsigned long long>(value);
    if (value < 0)
        magnitude = 0 - magnitude;
    char* end = std::to_chars(digits, digits + sizeof digits, magnitude, radix).ptr;
    CStringBuf text;
    if (value < 0)
        text.append(u'-');
    for (int have = static_cast<int>(end - digits); have < minDigits; ++have)
        text.append(u'0');
    text.append(std::string_view(digits, static_cast<std::size_t>(end - digits)));
    return text;
}

CStringBuf CStringBuf::fromDouble(double value)
{
    char digits[512];                               // the longest: sign, "0.", 323 zeros, 17 digits
    const char* end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed).ptr;
    return CStringBuf(std::string_view(digits, static_cast<std::size_t>(end - digits)));
}

CStringBuf CStringBuf::fromUtf8(std::string_view utf8)
{
    CStringBuf text;
    std::size_t plain = 0;                          // most texts are ASCII: taken in one piece
    while (plain < utf8.size() && static_cast<signed char>(utf8[plain]) > 0)
        ++plain;
    text.append(utf8.substr(0, plain));
    if (plain == utf8.size())
        return text;
    text.reserveBytes(utf8.size() + 1);
    for (std::size_t i = plain; i < utf8.size();)
    {
        const auto lead = static_cast<unsigned char>(utf8[i++]);
        if (lead == 0)
            break;
        if (lead < 0x80)
        {
            text.append(static_cast<char16_t>(lead));
            continue;
        }
        const int more = lead >= 0xF8 || lead < 0xC0 ? 0 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
        if (more == 0)
            continue;
        std::uint32_t code = lead & (0x3Fu >> more);
        int taken = 0;
        while (taken < more && i < utf8.size() && (static_cast<unsigned char>(utf8[i]) & 0xC0) == 0x80)
        {
            code = (code << 6) | (static_cast<unsigned char>(utf8[i++]) & 0x3Fu);
            ++taken;
        }
        if (taken < more)
            continue;
        if (code == 0)
            break;
        appendCodePoint(text, code);
    }
    return text;
}

std::string CStringBuf::toUtf8() const
{
    std::string utf8;
    utf8.reserve(static_cast<std::size_t>(count));
    const auto tail = [&utf8](std::uint32_t bits) { utf8.push_back(static_cast<char>(0x80 | (bits & 0x3F))); };
    for (int i = 0; i < count; ++i)
    {
        std::uint32_t code = at(i);
        if (code >= 0xD800 && code < 0xDC00 && i + 1 < count && (at(i + 1) & 0xFC00) == 0xDC00)
            code = 0x10000 + ((code - 0xD800) << 10) + (at(++i) - 0xDC00u);
        if (code < 0x80)
            utf8.push_back(static_cast<char>(code));
        else if (code < 0x800)
        {
            utf8.push_back(static_cast<char>(0xC0 | (code >> 6)));
            tail(code);
        }
        else if (code < 0x10000)
        {
            utf8.push_back(static_cast<char>(0xE0 | (code >> 12)));
            tail(code >> 6);
            tail(code);
        }
        else
        {
            utf8.push_back(static_cast<char>(0xF0 | (code >> 18)));
            tail(code >> 12);
            tail(code >> 6);
            tail(code);
        }
    }
    return utf8;
}

void CStringBuf::cutToUtf8Bytes(std::size_t limit)
{
    if (static_cast<std::size_t>(count) <= limit / 3)
        return;                                     // a unit takes at most three bytes
    std::size_t used = 0;
    int i = 0;
    while (i < count)
    {
        const char16_t unit = at(i);
        const bool pair = (unit & 0xFC00) == 0xD800 && i + 1 < count && (at(i + 1) & 0xFC00) == 0xDC00;
        used += pair ? 4 : unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
        if (used > limit)
            break;
        i += pair ? 2 : 1;
    }
    count = i;
    terminate();
}

}
