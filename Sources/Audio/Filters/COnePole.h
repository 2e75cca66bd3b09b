// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <numbers>

namespace kor
{

// The one map from a frequency or a time to the coefficient k of a one-pole smoother, s += (x - s) k, whose -3 dB point
// lies at the frequency. With y = 2 - cos w it is k = 1 - y + sqrt(y^2 - 1), here written with y - 1 = 2 sin^2(w / 2),
// so that low frequencies keep all their digits.

/// frequencyHz: above 0; beyond half the rate the map repeats backwards. rateHz: above 0. Any thread.
inline double onePoleOfFrequency(double frequencyHz, double rateHz) noexcept
{
    const double half = std::sin(std::numbers::pi * frequencyHz / rateHz);
    const double rise = 2.0 * half * half;
    return std::sqrt(rise * (rise + 2.0)) - rise;
}

/// timeSeconds: the reciprocal of the -3 dB frequency, above 0.
inline double onePoleOfTime(double timeSeconds, double rateHz) noexcept
{
    return onePoleOfFrequency(1.0 / timeSeconds, rateHz);
}

}
