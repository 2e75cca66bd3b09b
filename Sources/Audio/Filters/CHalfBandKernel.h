// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

namespace kor
{

// What a half-band filter of `count` coefficients per chain works on. Sections in z^-2 never mix a sample with its
// neighbour, so two chains make four streams of first-order sections: the first chain for every other sample, for the
// samples between them, and the same of the second chain.
struct CHalfBandRun
{
    static constexpr int streams = 4;

    const double* coefficients;         // of the first chain, then of the second
    double* memory;                     // count + 1 points between sections, each with the last sample of every stream
    double* late;                       // output of the second chain a sample ago
};

// The inner loop of the half-band filters, compiled once per instruction set; the best build for the processor is
// chosen once. The choice changes a result by rounding only.
struct CHalfBandKernel
{
    static constexpr int maxCount = 8;

    /// By coefficients per chain less one. samples: even, 0 or more; `in` and `out` are the same or apart, of any
    /// alignment. The first sample belongs to the streams 0 and 2.
    void (*process[maxCount])(const CHalfBandRun& run, const double* in, double* out, int samples);
    const char* name;                   // of the instruction set, for benchmarks and failed tests
};

/// The build for this processor. Any thread.
const CHalfBandKernel& halfBandKernel() noexcept;

/// All builds that this processor can run, the best first, for tests and benchmarks. While it runs no other thread
/// may use functions that choose by instruction set.
std::vector<const CHalfBandKernel*> allHalfBandKernels();

}
