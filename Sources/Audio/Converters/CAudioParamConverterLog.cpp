// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Converters/CAudioParamConverterLog.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kor
{

namespace
{

// Values below the range have no position; the power of a negative number would be none either.
double bend(double y, double power) noexcept
{
    if (std::abs(power - 1.0) <= std::numeric_limits<double>::epsilon())
        return y;
    return std::pow(std::max(y, 0.0), power);
}

double geometric(double from, double to, double y) noexcept
{
    return std::exp(std::log(from) + std::log(to / from) * y);
}

double geometricShare(double from, double to, double value) noexcept
{
    return std::log(value / from) / std::log(to / from);
}

constexpr double neutral = 1.0;

}

CError CAudioParamConverterLog::init()
{
    KOR_TRY(CAudioParamConverter::init());
    if (hasAttr("scale-power"))
        scalePower = getAttrDouble("scale-power");
    if (!(scalePower > 0))
        return KOR_FAIL("Invalid 'scale-power' attribute value %1 specified.", scalePower);
    if (hasAttr("scale-threshold"))
        scaleThreshold = getAttrDouble("scale-threshold");
    if (!(scaleThreshold <= 1))
        return KOR_FAIL("Invalid 'scale-threshold' attribute value %1 specified.", scaleThreshold);
    return {};
}

double CAudioParamConverterLog::normalisedToReal(const CAudioParamInfo& info, int component, double x) const
{
    const double min = info.minValue(component);
    const double max = info.maxValue(component);
    const double t = scaleThreshold;
    if (!(t > 0))
        return geometric(min, max, bend(x, 1.0 / scalePower));
    if (x >= t)
        return t < 1 ? geometric(neutral, max, (x - t) / (1.0 - t)) : neutral;
    return geometric(min, neutral, bend(x / t, 1.0 / scalePower));
}

double CAudioParamConverterLog::realToNormalised(const CAudioParamInfo& info, int component, double value) const
{
    const double min = info.minValue(component);
    const double max = info.maxValue(component);
    const double t = scaleThreshold;
    if (!(t > 0))
        return bend(geometricShare(min, max, value), scalePower);
    if (value >= neutral)
        return t < 1 ? t + geometricShare(neutral, max, value) * (1.0 - t) : t;
    return bend(geometricShare(min, neutral, value), scalePower) * t;
}

}
