// SPDX-License-Identifier: GPL-3.0-or-later
#include "DefaultRouting.h"

#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Plugin/CAudioInstance.h"

#include <algorithm>

namespace kor
{

void routeByDefault(const CAudioInstance& instance, int inputs, int outputs)
{
    // All entries that there are: one that is not given would read as the first of the defaults.
    constexpr int entries = 16;
    CAudioParam* const in = instance.findParam("io-params.in-routing");
    CAudioParam* const out = instance.findParam("io-params.out-routing");
    CAudioParam* const grouping = instance.findParam("io-params.grouping");
    if (in == nullptr || out == nullptr || grouping == nullptr)
        return;
    const int inside = std::min(inputs, instance.channelCount());
    for (int i = 0; i < entries; ++i)
    {
        in->setValue(0, i, i < inside ? i + 1 : 0);
        const int source = inputs == 1 ? 1 : i + 1;
        grouping->setValue(0, i, 0);
        out->setValue(0, i, i < outputs && source <= inside ? source : 0);
    }
}

}
