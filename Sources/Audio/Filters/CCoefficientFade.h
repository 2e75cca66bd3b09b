// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kor
{

/// Raised cosine that a coefficient crossfade runs along, by the three-term recursion of a cosine. In sample n of N the
/// old side weighs 0.5 + s and the new side 0.5 - s, with s = 0.5 cos(pi n / N).
struct CCoefficientFade
{
    double s = 0.5;
    double previous = 0.5;
    double factor = 2.0;
    int length = 1;             // samples of a whole fade, fixed when the section starts
    int remaining = 0;

    void setLength(double seconds, double sampleRate) noexcept
    {
        length = std::max(1, static_cast<int>(std::lround(seconds * sampleRate)));
    }

    void start() noexcept
    {
        const double w = std::numbers::pi / length;
        s = 0.5;
        previous = 0.5 * std::sin(0.5 * std::numbers::pi - w);
        factor = 2.0 * std::cos(w);
        remaining = length;
    }

    void step() noexcept
    {
        const double next = factor * s - previous;
        previous = s;
        s = next;
    }
};

}
