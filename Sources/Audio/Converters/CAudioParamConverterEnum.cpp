// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Converters/CAudioParamConverterEnum.h"

#include "Audio/Converters/ConverterNumbers.h"

#include <cmath>

namespace kor
{

namespace
{

char16_t lower(char16_t c) noexcept
{
    return c >= 'A' && c <= 'Z' ? static_cast<char16_t>(c + ('a' - 'A')) : c;
}

bool sameWithoutCase(const CStringBuf& a, const CStringBuf& b) noexcept
{
    if (a.length() != b.length())
        return false;
    for (int i = 0; i < a.length(); ++i)
        if (lower(a[i]) != lower(b[i]))
            return false;
    return true;
}

bool findName(const CArray<CAudioParamStateName>& names, const CStringBuf& text, double& value)
{
    for (std::size_t i = 0; i < names.size(); ++i)
    {
        const bool isShort = !names[i].shortName.isEmpty() && sameWithoutCase(names[i].shortName, text);
        if (isShort || sameWithoutCase(names[i].longName, text))
        {
            value = static_cast<double>(i);
            return true;
        }
    }
    return false;
}

}

CError CAudioParamConverterEnum::init()
{
    KOR_TRY(CAudioParamConverter::init());
    stateNames = parseStateNameList(getAttrString("state-names"));
    return {};
}

bool CAudioParamConverterEnum::findState(const CAudioParamInfo& info, const CStringBuf& text, double& value) const
{
    return findName(info.hasStateNames() ? info.stateNames() : ownStateNames(), text, value);
}

double CAudioParamConverterEnum::parse(const CAudioParamInfo& info, int component, const CStringBuf& text,
                                       bool& ok) const
{
    double value = 0.0;
    ok = !text.isEmpty();
    if (ok && !findState(info, text, value))
        value = text.toInt(ok);
    return ok ? info.clamp(component, value) : info.minValue(component);
}

double CAudioParamConverterEnum::parseBare(const CStringBuf& text, bool& ok) const
{
    double value = 0.0;
    ok = !text.isEmpty();
    if (ok && !findName(ownStateNames(), text, value))
        value = text.toInt(ok);
    return ok ? value : 0.0;
}

void CAudioParamConverterEnum::format(CStringBuf& out, const CAudioParamInfo& info, int, double value,
                                      CAudioParamTextMode mode, const CStringBuf*) const
{
    const bool isCompact = mode == CAudioParamTextMode::compact;
    const CArray<CAudioParamStateName>& own = ownStateNames();
    if (!info.hasStateNames() && own.empty())
    {
        out = decimalText(value, 0);
        return;
    }
    const double rounded = std::round(value);
    CAudioParamStateName name;
    bool found = false;
    if (rounded >= 0 && rounded < 1e9)
    {
        const int index = static_cast<int>(rounded);
        if (info.hasStateNames())
            found = info.getStateName(name, index);
        else if (index < static_cast<int>(own.size()))
        {
            name = own[static_cast<std::size_t>(index)];
            found = true;
        }
    }
    if (!found)
        out = isCompact ? "Rsv" : "Reserve";
    else
        out = isCompact && !name.shortName.isEmpty() ? name.shortName : name.longName;
}

double CAudioParamConverterEnum::normalisedToReal(const CAudioParamInfo& info, int component, double x) const
{
    return std::round(linearToReal(info.minValue(component), info.maxValue(component), x));
}

double CAudioParamConverterEnum::realToNormalised(const CAudioParamInfo& info, int component, double value) const
{
    return linearToNormalised(info.minValue(component), info.maxValue(component), value);
}

}
