// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAllocator.h"

namespace kor
{

// A linear-phase FIR low-pass: a sinc under a Blackman window, on request convolved with itself once or more. Pure
// maths without state.
struct CFirDesign
{
    CArray<double> taps;                   // impulse response
    int latency = 0;                       // index of its centre, samples

    static constexpr int maxTaps = 1 << 22;
};

struct CFirLowPassSettings
{
    double sampleRateHz = 44100.0;
    double lengthSeconds = 0.0;            // the number of taps grows with length x rate^2 / frequency
    double frequencyHz = 0.0;
    double power = 0.0;                    // rounded: how many times the response is convolved with itself
};

/// Designs the low-pass. The gain in the pass band is one but for the ripple of the window. False, with the output
/// untouched, for settings that are not finite and positive, or that ask for more than maxTaps taps in the end.
/// Any thread; takes the lock of the FFT pool when power is at least 1.
bool designFirLowPass(const CFirLowPassSettings& settings, CFirDesign& design);

}
