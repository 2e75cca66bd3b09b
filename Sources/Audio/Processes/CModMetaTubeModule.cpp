// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModMetaTubeModule.h"

#include "Audio/Filters/COnePole.h"

#include <algorithm>
#include <cmath>

namespace kor
{

namespace
{

// A level without output of its own, such as 0, has no gain that would bring it back.
constexpr double largestNormGain = 1e6;

}

void CModMetaTubeModule::registerParams()
{
    for (std::size_t i = 0; i < slots.size(); ++i)
        slots[i] = registerParam(static_cast<int>(i));
}

bool CModMetaTubeModule::update()
{
    std::array<double, valueCount> next;
    for (std::size_t i = 0; i < next.size(); ++i)
        next[i] = paramValue(slots[i]);
    if (next == values)
        return false;
    values = next;
    design();
    feedState = 0.0;
    return true;
}

void CModMetaTubeModule::design()
{
    settings.curveA.design(values[ratioA], values[kneeA]);
    settings.curveB.design(values[ratioB], values[kneeB]);
    settings.gainI = values[gainI];
    settings.biasI = values[biasI];
    settings.gainV = values[gainV];
    settings.biasV = values[biasV];
    settings.dcOffset = settings.slide(settings.biasI, settings.biasV);
    settings.feedCoefficient = onePoleOfFrequency(values[feedFreq], sampleRate);
    if (values[feedFreqInv] >= 0.5)
        settings.feedCoefficient = -settings.feedCoefficient;

    if (values[type] >= 0.5)
    {
        routine = metaTubeKernel().processDry;
        settings.outputGain = values[makeupGain];
        return;
    }
    routine = metaTubeKernel().processFeedback;
    const double point = values[autoGainPoint];
    const double level = settings.slide(settings.gainI * point + settings.biasI,
                                        point * settings.gainV + settings.biasV) -
                         settings.dcOffset;
    const double normGain = 1.0 / level;
    settings.outputGain = std::clamp(normGain, -largestNormGain, largestNormGain);
}

void CModMetaTubeModule::process(const double* in, double* out, int count)
{
    shape(in, in, out, count);
}

void CModMetaTubeModule::processPorts(std::span<const double* const> in, double* out, int count)
{
    shape(in[0], in.size() > 1 && in[1] != nullptr ? in[1] : in[0], out, count);
}

void CModMetaTubeModule::shape(const double* signal, const double* dry, double* out, int count)
{
    routine(settings, feedState, signal, dry, out, count);
    if (!(std::abs(feedState) < CMetaTubeKernel::largestFeedback)) // a runaway, or no number any more
        feedState = 0.0;
}

bool CModMetaTubeModule::hasSameSettings(const CAudioModule& current) const
{
    return values == static_cast<const CModMetaTubeModule&>(current).values;
}

}
