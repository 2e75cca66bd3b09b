// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterGen.h"

namespace kor
{

// The second-order designs of the Audio EQ Cookbook of R. Bristow-Johnson (`audio:fltgen-rbj`). Poles and zeros stand
// at the digital frequency, without further warping. Above half the sample rate a band is no band: no stage; exactly at
// half the rate it still designs.
class CAudioFilterRBJGen : public CAudioFilterGen
{
public:
    CError init() override;
    void generate(CAudioFilterSpec& spec, double sampleRate, const CAudioFilterParams& params,
                  const CDCDAWFilterWorkspace* workspace) const override;

private:
    enum class Type
    {
        lowPass,
        highPass,
        bandPass,               // 0 dB at the peak
        bandPassSkirt,          // constant skirt
        notch,
        allPass,
        peak,
        lowShelf,
        highShelf,
        allPassRadius,          // by pole radius
        lowLessHigh             // low-pass minus high-pass
    };

    Type type = Type::lowPass;
    bool isQ = false;           // bandwidths are Q
    bool isType2 = false;       // bandwidths in octaves hold at the analog frequency
    bool isInverted = false;    // low-pass and high-pass with the sign turned
};

}
