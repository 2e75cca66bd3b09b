// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CMetaTubeCurve.h"

#include <cmath>
#include <numbers>

namespace kor
{

namespace
{

constexpr double largestSlope = 0.9999;
constexpr double smallestSlope = 0.002;

double bendOf(double ratio) noexcept
{
    if (ratio > largestSlope)
        return largestSlope - 1.0;
    return ratio > smallestSlope ? ratio - 1.0 : -1.0;
}

}

void CMetaTubeCurve::design(double ratio, double knee) noexcept
{
    const double bend = bendOf(ratio);
    const double angle = 0.5 * (std::numbers::pi - std::atan(-bend)); // below a right angle
    slope = 1.0 + bend;
    kneeStart = -0.5 * knee;
    arcOffset = kneeStart * std::tan(angle);
    arcRadius2 = arcOffset * arcOffset;
    kneeEnd = -arcOffset * std::sin(2.0 * angle) + kneeStart;
}

double CMetaTubeCurve::at(double v) const noexcept
{
    if (v <= kneeStart)
        return v;
    if (v >= kneeEnd)
        return slope * v;
    const double along = v - kneeStart;
    return arcOffset + v + std::sqrt(arcRadius2 - along * along);
}

}
