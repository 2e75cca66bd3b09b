// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

namespace kor
{

struct CBiquadBlock;
struct CBiquadMemory;

// The inner loop of a settled biquad, compiled once per instruction set; the best build for the processor is chosen
// once. The choice changes a result by rounding only.
struct CBiquadKernel
{
    /// `count` is a multiple of the block's length, above 0; `in` and `out` are the same or apart, of any alignment.
    void (*process)(const CBiquadBlock& block, CBiquadMemory& memory, const double* in, double* out, int count);
    const char* name;           // of the instruction set, for benchmarks and failed tests
};

/// The build for this processor. Any thread.
const CBiquadKernel& biquadKernel() noexcept;

/// All builds that this processor can run, the best first, for tests and benchmarks. While it runs no other thread
/// may use functions that choose by instruction set.
std::vector<const CBiquadKernel*> allBiquadKernels();

}
