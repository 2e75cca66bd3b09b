// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CDenormNoise.h"

#include "Audio/Processes/CDenormNoiseKernel.h"

#include <atomic>

namespace kor
{

void CDenormNoise::takeSeed() noexcept
{
    static std::atomic<std::uint32_t> nextSeed = 0;
    seed = nextSeed.fetch_add(1, std::memory_order_relaxed); // the number is all that is shared
}

void CDenormNoise::add(const double* in, double* out, int count) noexcept
{
    seed = denormNoiseKernel().add(seed, in, out, count);
}

void CDenormNoise::fill(double* out, int count) noexcept
{
    seed = denormNoiseKernel().fill(seed, nullptr, out, count);
}

}
