// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioModule.h"
#include "Audio/Processes/CMetaTubeKernel.h"

#include <array>

namespace kor
{

// The waveshaper of one channel: two soft-knee curves round a working point, and a slide between them that a second
// signal steers. What the working point leaves of silence is taken away again, and one level is brought back to itself.
class CModMetaTubeModule : public CAudioModule
{
public:
    void registerParams() override;
    void reset() override { feedState = 0.0; }
    bool update() override;
    void process(const double* in, double* out, int count) override;
    void processPorts(std::span<const double* const> in, double* out, int count) override;
    bool hasSameSettings(const CAudioModule& current) const override;

private:
    /// In the order of the slots.
    enum CValue
    {
        ratioA,
        ratioB,
        kneeA,
        kneeB,
        biasI,
        biasV,
        gainI,
        gainV,
        autoGainPoint,
        feedFreq,
        feedFreqInv,
        type,
        makeupGain,
        valueCount
    };

    void design();
    void shape(const double* signal, const double* dry, double* out, int count);

    std::array<const CAudioParamStorage*, valueCount> slots{};
    std::array<double, valueCount> values{}; // no set of slots reads as this: a ratio is never 0
    CMetaTubeSettings settings;
    CMetaTubeRoutine routine = metaTubeKernel().processFeedback;
    double feedState = 0.0; // last output before normalisation, or the low part of the dry signal
};

}
