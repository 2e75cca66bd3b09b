// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterStageKind.h"

namespace kor
{

// One running half-band filter: two chains of all-pass sections in z^-2, v[n] = c (u[n] - v[n-2]) + u[n-2], the second
// chain a sample later, averaged. Every point between sections keeps its last samples in a ring of four, all rings
// under one position that steps back by one each sample.
template <int count>
class CHalfBandStage
{
public:
    /// a, b: count coefficients each.
    CHalfBandStage(const double* a, const double* b) noexcept;
    void process(const double* in, double* out, int samples) noexcept;
    void passInput() noexcept { passes = true; }

private:
    double coefficients[2][count];
    double rings[2][count + 1][4] = {};
    double delayed = 0.0;               // output of the second chain a sample ago
    int position = 0;
    bool passes = false;
};

/// The stage kind for 1 to 8 coefficients per chain.
CAudioFilterStageKind halfBandStageKind(int count) noexcept;

}
