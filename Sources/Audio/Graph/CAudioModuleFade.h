// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CRaisedCosine.h"

namespace kor
{

// Crossfade from one module's output to another's: first a hold, in which the old one sounds alone while the new one
// fills its latency, then a raised cosine.
class CAudioModuleFade
{
public:
    /// holdSamples: 0 or more; fadeSamples: 1 or more.
    void start(int holdSamples, int fadeSamples) noexcept
    {
        hold = holdSamples;
        curve.start(fadeSamples);
    }

    bool isRunning() const noexcept { return hold > 0 || curve.remaining() > 0; }

    /// Samples until the end, hold included.
    int remaining() const noexcept { return hold + curve.remaining(); }

    /// Mixes a block of any length; what lies behind the end of the fade is the new signal. `out` may be `old` or
    /// `fresh`.
    void process(const double* old, const double* fresh, double* out, int count) noexcept;

private:
    int hold = 0;
    CRaisedCosine curve;
};

}
