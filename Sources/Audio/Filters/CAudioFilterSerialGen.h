// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterGen.h"

namespace kor
{

class CAudioFilterSerialGenItem;

// A cascade (`audio:fltgen-serial`): the stages of its items one after the other, each designed from the parameters
// times the item's own multipliers. A comb is the same notch at multiples of one frequency.
class CAudioFilterSerialGen : public CAudioFilterGen
{
public:
    CError initChilds() override;
    void generate(CAudioFilterSpec& spec, double sampleRate, const CAudioFilterParams& params,
                  const CDCDAWFilterWorkspace* workspace) const override;

private:
    CArray<const CAudioFilterSerialGenItem*> items;
};

}
