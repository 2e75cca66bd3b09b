// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Processes/CMetaTubeCurve.h"

#include <vector>

namespace kor
{

/// All that the waveshaper's sample loop needs to know. With v = gainI x + biasI and a, b the two curves at v, its
/// output is (a + (b - a) m - dcOffset) outputGain, where m = gainV times a control signal, plus biasV.
struct CMetaTubeSettings
{
    CMetaTubeCurve curveA, curveB;
    double gainI = 1.0, biasI = 0.0;
    double gainV = 0.0, biasV = 0.0;
    double dcOffset = 0.0; // what silence would leave
    double outputGain = 1.0;
    double feedCoefficient = 0.0; // of the one-pole that makes the control

    /// a + (b - a) m at signal v, which is gainI x + biasI. The kernels round in the same way, so that a dcOffset from
    /// here makes silence exactly 0.
    double slide(double v, double m) const noexcept
    {
        const double a = curveA.at(v);
        return a + (curveB.at(v) - a) * m;
    }
};

/// x: the signal, c: its dry companion, from which the control is made; `out` is x, c or apart from both. state: one
/// number of memory. count: 1 or more. Audio thread.
using CMetaTubeRoutine = void (*)(const CMetaTubeSettings& settings, double& state, const double* x, const double* c,
                                  double* out, int count);

// The waveshaper's sample loop, compiled once per instruction set. The choice changes a result by rounding only.
struct CMetaTubeKernel
{
    /// From about 30 dB above full scale on, the loop gain of the feedback exceeds 1 and the output would run away
    /// within a block. It stops here, 80 dB above full scale, where no sound is.
    static constexpr double largestFeedback = 1e4;

    /// The control is the stage's own last output before outputGain, held within largestFeedback, drawn towards c by
    /// feedCoefficient.
    CMetaTubeRoutine processFeedback;

    /// The control is c without what lies below the corner of the one-pole.
    CMetaTubeRoutine processDry;

    const char* name; // of the instruction set, for benchmarks and failed tests
};

/// The build for this processor. Any thread.
const CMetaTubeKernel& metaTubeKernel() noexcept;

/// All builds that this processor can run, the best first, for tests and benchmarks. While it runs no other thread
/// may use functions that choose by instruction set.
std::vector<const CMetaTubeKernel*> allMetaTubeKernels();

}
