// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterStageKind.h"
#include "Audio/Filters/CBiquadStateSpace.h"
#include "Audio/Filters/CCoefficientWalk.h"

namespace kor
{

// One running biquad section. New coefficients are faded in over 25 ms: a filter with the old coefficients, and one
// whose coefficients move from the old to the new, start from the same memory and run side by side on the input, and
// the output goes from one to the other. Coefficients that arrive meanwhile wait in one slot, the last one winning, so
// that a stream of changes moves the filter in steps of 25 ms towards the newest.
class CBiquadStage
{
public:
    static constexpr double fadeSeconds = 0.025;

    CBiquadStage(const CBiquadCoefficients& coefficients, double sampleRate) noexcept;

    void update(const CBiquadCoefficients& coefficients) noexcept;

    /// A sample that is not finite spoils the rest of its block, and the next begins with empty memory.
    void process(const double* in, double* out, int count) noexcept;

private:
    void prepareFade() noexcept;
    void dropUnusableMemory() noexcept;
    void processFade(const double* in, double* out, int count) noexcept;

    CBiquadBlock block;                     // of walk.current
    CCoefficientWalk<CBiquadCoefficients> walk;
    CBiquadMemory memory;                   // of the settled filter, or of the one that fades in

    // While a fade runs.
    CBiquadMemory oldMemory;
    CBiquadStep oldStep;
    CBiquadStep fromStep;                   // the old coefficients for the side of the new
    CBiquadStep toStep;
    double oldSide = 1.0;
    double side = 1.0;                      // that `memory` is expressed for
};

/// The stage kind of a biquad under one of its ids.
CAudioFilterStageKind biquadStageKind(int id) noexcept;

}
