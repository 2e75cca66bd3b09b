// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Converters/CAudioParamConverterTime.h"

#include "Audio/Converters/ConverterNumbers.h"

#include <cmath>

namespace kor
{

CError CAudioParamConverterTime::init()
{
    KOR_TRY(CAudioParamConverter::init());
    if (hasAttr("scale"))
        scale = getAttrDouble("scale");
    if (!(scale > 0))
        return KOR_FAIL("Invalid scale %1 specified.", scale);
    isLog = getAttrBool("is-log");
    isExact = getAttrBool("is-exact");
    isPrecise = getAttrBool("is-precise");
    return {};
}

double CAudioParamConverterTime::parseBare(const CStringBuf& text, bool& ok) const
{
    return text.toDouble(ok) * scale;
}

// Two decimals below 10, one below 100, none above; one less throughout in narrow readouts.
void CAudioParamConverterTime::format(CStringBuf& out, const CAudioParamInfo&, int, double value,
                                      CAudioParamTextMode mode, const CStringBuf*) const
{
    const double time = value / scale;
    int most = 2;
    if (isPrecise)
        ++most;
    if (mode == CAudioParamTextMode::precise)
        ++most;
    else if (mode == CAudioParamTextMode::compact)
        --most;
    int decimals = most;
    if (!isExact && !roundsBelow(time, decimals, 10.0))
    {
        --decimals;
        if (decimals > 0 && !roundsBelow(time, decimals, 100.0))
            --decimals;
    }
    out = decimalText(time, decimals);
}

double CAudioParamConverterTime::normalisedToReal(const CAudioParamInfo& info, int component, double x) const
{
    const double min = info.minValue(component);
    const double max = info.maxValue(component);
    if (isLog)
        return std::exp(std::log(min) + std::log(max / min) * x);
    return isExact ? linearToReal(min, max, x) : squareToReal(min, max, x);
}

double CAudioParamConverterTime::realToNormalised(const CAudioParamInfo& info, int component, double value) const
{
    const double min = info.minValue(component);
    const double max = info.maxValue(component);
    if (isLog)
        return std::log(value / min) / std::log(max / min);
    return isExact ? linearToNormalised(min, max, value) : squareToNormalised(min, max, value);
}

double CAudioParamConverterTime::normalisedToDisplay(const CAudioParamInfo& info, int component, double x) const
{
    return normalisedToReal(info, component, x) / scale;
}

}
