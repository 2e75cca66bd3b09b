// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CAudioFilterLPHP1Gen.h"

#include "Audio/Filters/CDCDAWFilterWorkspace.h"
#include "Audio/Filters/COnePole.h"

#include <cmath>
#include <numbers>

namespace kor
{

CError CAudioFilterLPHP1Gen::init()
{
    KOR_TRY(CAudioFilterGen::init());
    KOR_TRY(readType(type, Type::highPassGain));
    return {};
}

void CAudioFilterLPHP1Gen::generate(CAudioFilterSpec& spec, double sampleRate, const CAudioFilterParams& params,
                                    const CDCDAWFilterWorkspace* workspace) const
{
    double frequencyHz = 0.0;
    if (!params.find("freq", frequencyHz))
        return;
    const double k = onePoleOfFrequency(frequencyHz, sampleRate);
    const double p = 1.0 - k;
    double b0 = k;
    double b1 = 0.0;
    int kind = filterKind::firstOrderLowPass;
    if (type != Type::lowPass)
    {
        double gain = 1.0;
        kind = filterKind::firstOrderHighPass;
        if (type == Type::highPassGain)
        {
            constexpr double minus3dB = 0.7079457843841379;             // 10^(-3/20)
            const double half = std::sin(std::numbers::pi * frequencyHz / sampleRate);
            const double magnitude = p * std::abs(2.0 * half) / std::hypot(k, 2.0 * std::sqrt(p) * half);
            gain = minus3dB / magnitude;
            kind = filterKind::firstOrderHighPassGain;
        }
        b0 = gain * p;
        b1 = -gain * p;
    }
    if (!std::isfinite(b0) || !std::isfinite(p))
        return;
    CAudioFilterStage& stage = spec.addStage(workspace != nullptr ? workspace->kind(kind) : nullptr);
    stage.numerator.assign({b0, b1});
    stage.denominator.assign({-p});
}

}
