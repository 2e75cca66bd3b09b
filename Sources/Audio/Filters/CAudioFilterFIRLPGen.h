// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterGen.h"

namespace kor
{

// Linear-phase low-pass, a sinc under a Blackman window (`audio:fltgen-firlp`): parameters `length` (seconds), `freq`
// and `power`. One stage that holds the impulse response and has no kind, since it runs by convolution. Allocates.
class CAudioFilterFIRLPGen : public CAudioFilterGen
{
public:
    void generate(CAudioFilterSpec& spec, double sampleRate, const CAudioFilterParams& params,
                  const CDCDAWFilterWorkspace* workspace) const override;
};

}
