// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace kor
{

// Noise of -220 dB, far below hearing, that keeps recursive filters behind it out of the denormal range: every sample
// is plus or minus 1e-11, as one bit of a 32-bit congruential generator says. Belongs to one channel.
class CDenormNoise
{
public:
    /// State of the generator; the next sample is made from its successor.
    std::uint32_t seed = 0;

    /// Takes a seed that nobody else in the process has, so that channels differ. Any thread.
    void takeSeed() noexcept;

    /// out = in + noise; the same or apart. Audio thread.
    void add(const double* in, double* out, int count) noexcept;

    /// Noise alone, for a channel that is silent. Audio thread.
    void fill(double* out, int count) noexcept;
};

}
