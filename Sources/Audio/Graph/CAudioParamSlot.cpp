// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioParamSlot.h"

#include "Audio/Parameters/CAudioParamAllocDef.h"

#include <algorithm>
#include <cmath>

namespace kor
{

int CAudioParamSlot::count(int group, int most) const
{
    const double value = values.getValue(group, 0);
    return value > 0.0 ? static_cast<int>(std::nearbyint(std::min(value, static_cast<double>(most)))) : 0;
}

bool CAudioParamSlot::useAllGroups() const
{
    return alloc != nullptr && alloc->useAllGroups();
}

bool CAudioParamSlot::isSmoothUpdate() const
{
    return alloc != nullptr && alloc->isSmoothUpdate();
}

}
