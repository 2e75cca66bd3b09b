// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterStageKind.h"
#include "Audio/Filters/CCoefficientWalk.h"

namespace kor
{

/// A first-order section: s += (x - s) k, output = direct x + smoothed s. The low-pass is s, the high-pass x - s, the
/// corrected high-pass (x - s) g.
struct CFirstOrderCoefficients
{
    double k = 1.0;             // 1 + a1
    double direct = 1.0;
    double smoothed = 0.0;
};

// One running first-order section. New coefficients are faded in over 15 ms: unlike a biquad's they may move under the
// one running state. What arrives meanwhile waits in one slot, the last one winning.
class CFirstOrderStage
{
public:
    static constexpr double fadeSeconds = 0.015;

    CFirstOrderStage(const CFirstOrderCoefficients& coefficients, double sampleRate) noexcept;

    void update(const CFirstOrderCoefficients& coefficients) noexcept;

    /// Towards the output being the input, at the k there is.
    void updateToIdentity() noexcept;

    void process(const double* in, double* out, int count) noexcept;

private:
    void processFade(const double* in, double* out, int count) noexcept;

    CCoefficientWalk<CFirstOrderCoefficients> walk;
    double s = 0.0;
};

/// The stage kind of one of the three ids.
CAudioFilterStageKind firstOrderStageKind(int id) noexcept;

}
