// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CDCDAWFilterWorkspace.h"

#include "Audio/Filters/CBiquadStage.h"
#include "Audio/Filters/CFirstOrderStage.h"
#include "Audio/Filters/CHalfBandStage.h"

#include <array>

namespace kor
{

namespace
{

// The patterns of low-pass, high-pass, band-pass and notch run the general section: its settled loop costs the same
// whatever the numerator, and a filter keeps its state when a design changes its pattern.
const std::array<CAudioFilterStageKind, 16>& allKinds() noexcept
{
    static const std::array<CAudioFilterStageKind, 16> kinds = {
        halfBandStageKind(1), halfBandStageKind(2), halfBandStageKind(3), halfBandStageKind(4),
        halfBandStageKind(5), halfBandStageKind(6), halfBandStageKind(7), halfBandStageKind(8),
        biquadStageKind(filterKind::biquad), biquadStageKind(filterKind::biquadLowPass),
        biquadStageKind(filterKind::biquadHighPass), biquadStageKind(filterKind::biquadBandPass),
        biquadStageKind(filterKind::biquadNotch),
        firstOrderStageKind(filterKind::firstOrderLowPass),
        firstOrderStageKind(filterKind::firstOrderHighPass),
        firstOrderStageKind(filterKind::firstOrderHighPassGain),
    };
    return kinds;
}

}

const CDCDAWFilterWorkspace& CDCDAWFilterWorkspace::instance() noexcept
{
    static const CDCDAWFilterWorkspace workspace;
    return workspace;
}

const CAudioFilterStageKind* CDCDAWFilterWorkspace::kind(int id) const noexcept
{
    for (const CAudioFilterStageKind& one : allKinds())
        if (one.id == id)
            return &one;
    return nullptr;
}

}
