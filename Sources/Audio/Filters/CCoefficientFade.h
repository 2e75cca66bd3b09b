// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kor
{

/// Raised cosine that a coefficient crossfade runs along: in sample n of N the old side weighs 0.5 + s and the new side
/// 0.5 - s, with s = 0.5 cos(pi n / N). The recursion of the cosine, s'' = 2 cos(w) s' - s, is run on its differences,
/// which keeps it to the last digits over thousands of samples.
struct CCoefficientFade
{
    double s = 0.5;
    double slope = 0.0;         // to the next s
    double bend = 0.0;          // 2 - 2 cos(pi / N)
    int length = 1;             // samples of a whole fade, fixed when the section starts
    int remaining = 0;

    void setLength(double seconds, double sampleRate) noexcept
    {
        length = std::max(1, static_cast<int>(std::lround(seconds * sampleRate)));
    }

    void start() noexcept
    {
        const double half = std::sin(0.5 * std::numbers::pi / length);
        s = 0.5;
        slope = -half * half;
        bend = 4.0 * half * half;
        remaining = length;
    }

    void step() noexcept
    {
        s += slope;
        slope -= bend * s;
    }
};

}
