// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterGen.h"

namespace kor
{

// First-order low-pass and high-pass (`audio:fltgen-lphp1`) with the pole of the one-pole map. There is no rule above
// half the rate: the map turns back there.
class CAudioFilterLPHP1Gen : public CAudioFilterGen
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
        highPassGain            // scaled so that it is 3 dB down at its frequency
    };

    Type type = Type::lowPass;
};

}
