// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

// The yardstick u of all benchmarks: one sample through a plain direct form II biquad in double. Built with the same
// flags as everything else, and timed in the same run.
struct CPlainBiquad
{
    double w1 = 0.0, w2 = 0.0;

    [[gnu::noinline]] void process(const double* in, double* out, int count)
    {
        const double c0 = 1.0228121181, c1 = -1.8271132191, c2 = 0.8172136029, c3 = 1.8256441797, c4 = -0.8385566815;
        double s1 = w1;
        double s2 = w2;
        for (int i = 0; i < count; ++i)
        {
            const double w = in[i] + c3 * s1 + c4 * s2;
            out[i] = c0 * w + c1 * s1 + c2 * s2;
            s2 = s1;
            s1 = w;
        }
        w1 = s1;
        w2 = s2;
    }
};

/// Generated noise in -1..1 times `level`; equal seeds give equal samples.
inline std::vector<double> noise(int count, unsigned seed = 1, double level = 1.0)
{
    std::vector<double> samples(static_cast<std::size_t>(count));
    for (double& x : samples)
    {
        seed = seed * 1664525u + 1013904223u;
        x = level * (seed / 2147483648.0 - 1.0);
    }
    return samples;
}
