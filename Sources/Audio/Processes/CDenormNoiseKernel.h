// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <bit>
#include <cstdint>
#include <vector>

namespace kor
{

// The generator behind CDenormNoise, seed = seed x 30013 + 30011 modulo 2^32, and its sample: the level with the
// opposite of one bit of the seed as its sign.
struct CDenormNoiseStep
{
    static constexpr std::uint32_t factor = 30013;
    static constexpr std::uint32_t offset = 30011;
    static constexpr std::uint32_t signBit = 0x800000;
    static constexpr int toSign = 63 - std::countr_zero(signBit);
    static constexpr double level = 1e-11;

    static constexpr std::uint32_t next(std::uint32_t seed) noexcept { return seed * factor + offset; }
    static constexpr double sample(std::uint32_t seed) noexcept { return (seed & signBit) != 0 ? level : -level; }
};

// The same samples several at a time, compiled once per instruction set; all builds give the same bits.
struct CDenormNoiseKernel
{
    /// Returns the seed after `count` samples, 0 or more; `in` and `out` are the same or apart.
    std::uint32_t (*add)(std::uint32_t seed, const double* in, double* out, int count);
    std::uint32_t (*fill)(std::uint32_t seed, const double*, double* out, int count); // noise alone
    const char* name; // of the instruction set
};

/// The build for this processor. Any thread.
const CDenormNoiseKernel& denormNoiseKernel() noexcept;

/// All builds that this processor can run, the best first, for tests and benchmarks. While it runs no other thread
/// may use functions that choose by instruction set.
std::vector<const CDenormNoiseKernel*> allDenormNoiseKernels();

}
