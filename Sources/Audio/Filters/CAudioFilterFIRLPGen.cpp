// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CAudioFilterFIRLPGen.h"

#include "Audio/Filters/CFirDesign.h"

namespace kor
{

void CAudioFilterFIRLPGen::generate(CAudioFilterSpec& spec, double sampleRate, const CAudioFilterParams& params,
                                    const CDCDAWFilterWorkspace*) const
{
    CFirLowPassSettings settings;
    settings.sampleRateHz = sampleRate;
    if (!params.find("length", settings.lengthSeconds) || !params.find("freq", settings.frequencyHz) ||
        !params.find("power", settings.power))
        return;
    CFirDesign design;
    if (!designFirLowPass(settings, design))
        return;
    spec.latency += design.latency;
    spec.addStage(nullptr).numerator.assign(design.taps.begin(), design.taps.end());
}

}
