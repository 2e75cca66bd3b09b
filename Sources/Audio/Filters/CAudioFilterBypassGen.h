// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterGen.h"

namespace kor
{

/// The filter that passes its input (`audio:fltgen-bypass`): no stages.
class CAudioFilterBypassGen : public CAudioFilterGen
{
public:
    void generate(CAudioFilterSpec&, double, const CAudioFilterParams&, const CDCDAWFilterWorkspace*) const override {}
};

}
