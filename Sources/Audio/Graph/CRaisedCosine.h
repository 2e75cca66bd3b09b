// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <numbers>

namespace kor
{

// Position of a crossfade along a raised cosine, by the three-term recursion of a cosine, so that no sample needs a
// trigonometric call. After a start over n samples the first sample has the old gain 1, and the one behind the last
// would have 0.
class CRaisedCosine
{
public:
    /// n: 1 or more samples.
    void start(int n) noexcept
    {
        const double w = std::numbers::pi / n;
        c = 0.5;
        p = 0.5 * std::sin(std::numbers::pi / 2.0 - w);
        k = 2.0 * std::cos(w);
        left = n;
    }

    void stop() noexcept { left = 0; }

    /// Samples until the end.
    int remaining() const noexcept { return left; }

    /// out = old fading into fresh, `count` samples, at most remaining(). `out` may be either of the two.
    void mix(const double* old, const double* fresh, double* out, int count) noexcept
    {
        double cosine = c;
        double previous = p;
        const double factor = k;
        for (int i = 0; i < count; ++i)
        {
            out[i] = (0.5 + cosine) * old[i] + (0.5 - cosine) * fresh[i];
            const double next = factor * cosine - previous;
            previous = cosine;
            cosine = next;
        }
        c = cosine;
        p = previous;
        left -= count;
    }

private:
    double c = 0.5;
    double p = 0.5;
    double k = 2.0;
    int left = 0;
};

}
