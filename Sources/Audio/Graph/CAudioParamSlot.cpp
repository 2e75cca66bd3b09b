// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioParamSlot.h"

#include "Audio/Parameters/CAudioParamAllocDef.h"

namespace kor
{

bool CAudioParamSlot::useAllGroups() const
{
    return alloc != nullptr && alloc->useAllGroups();
}

bool CAudioParamSlot::isSmoothUpdate() const
{
    return alloc != nullptr && alloc->isSmoothUpdate();
}

}
