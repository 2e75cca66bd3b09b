// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterStageKind.h"
#include "Audio/Filters/CHalfBandKernel.h"

namespace kor
{

// One running half-band filter: two chains of all-pass sections in z^-2, v[n] = c (u[n] - v[n-2]) + u[n-2], the second
// chain a sample later, averaged. The memory lies in the order of the kernel, with the streams of the sample to come
// first: a block of odd length swaps them.
template <int count>
class CHalfBandStage
{
public:
    /// a, b: count coefficients each.
    CHalfBandStage(const double* a, const double* b) noexcept;

    /// A sample that is not finite spoils the rest of its block, and the next begins with empty memory.
    void process(const double* in, double* out, int samples) noexcept;
    void passInput() noexcept { passes = true; }

private:
    double processSample(double x) noexcept;

    double coefficients[2][count];
    double memory[count + 1][CHalfBandRun::streams] = {};
    double late = 0.0;                  // output of the second chain a sample ago
    bool passes = false;
};

/// The stage kind for 1 to 8 coefficients per chain.
CAudioFilterStageKind halfBandStageKind(int count) noexcept;

}
