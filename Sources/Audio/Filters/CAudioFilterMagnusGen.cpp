// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CAudioFilterMagnusGen.h"

#include "Audio/Filters/CAudioFilterStageKind.h"
#include "Audio/Filters/CMagnusDesign.h"

#include <cmath>

namespace kor
{

CError CAudioFilterMagnusGen::init()
{
    KOR_TRY(CAudioFilterGen::init());
    KOR_TRY(readType(type, Type::bandPassNyquist));
    return {};
}

void CAudioFilterMagnusGen::generate(CAudioFilterSpec& spec, double sampleRate, const CAudioFilterParams& params,
                                     const CDCDAWFilterWorkspace* workspace) const
{
    double frequencyHz = 0.0;
    double gain = 1.0;
    double bandwidth = 0.0;
    if (!params.find("freq", frequencyHz) || !params.find("bw", bandwidth))
        return;
    const bool usesGain = type != Type::bandPassB && type != Type::bandPassNyquist;
    if (usesGain && !params.find("gain", gain))
        return;
    if (2.0 * frequencyHz > sampleRate)
        return;

    const double frequency = frequencyHz / sampleRate;
    const double peak = std::abs(gain - 1.0) < 0.001 ? 0.999 : gain;    // the fits divide by the difference from 1
    CBiquadDesign design{};
    switch (type)
    {
    case Type::peakA:
        design = magnusPeakA(frequency, bandwidth, peak);
        break;
    case Type::peakB:
        design = magnusPeakB(frequency, bandwidth, peak);
        break;
    case Type::peakNyquist:
        design = magnusPeakNyquist(frequency, bandwidth, peak);
        break;
    case Type::bandPassA:
        design = magnusBandPassA(frequency, bandwidth, gain);
        break;
    case Type::bandPassB:
        design = magnusBandPassB(frequency, bandwidth);
        break;
    case Type::bandPassNyquist:
        design = magnusBandPassNyquist(frequency, bandwidth);
        break;
    }
    appendBiquad(spec, design, filterKind::biquad, PoleLimit::insideCircle, workspace);
}

}
