// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterGen.h"

namespace kor
{

// Biquads fitted to an analog second-order prototype (`audio:fltgen-magnus`): their magnitude equals the prototype's at
// DC, at the centre and at half the sample rate, and at one more point, so that a bell near the top of the band keeps
// its shape. Above half the rate a band is no band: no stage.
class CAudioFilterMagnusGen : public CAudioFilterGen
{
public:
    CError init() override;
    void generate(CAudioFilterSpec& spec, double sampleRate, const CAudioFilterParams& params,
                  const CDCDAWFilterWorkspace* workspace) const override;

private:
    enum class Type
    {
        peakA,                  // fourth point: the lower band edge, warped
        peakB,                  // fourth point: a quarter of the rate
        peakNyquist,            // parametric section with prescribed gain at half the rate
        bandPassA,
        bandPassB,
        bandPassNyquist
    };

    Type type = Type::peakA;
};

}
