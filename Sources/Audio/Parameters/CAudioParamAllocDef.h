// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObject.h"

namespace kor
{

// Ties a parameter to a slot of the process definition above it (`audio:param-alloc`). Immutable after init.
class CAudioParamAllocDef : public CObject
{
public:
    CError init() override;

    /// The parameter, relative to the node; see expandParamName.
    const CStringBuf& paramName() const noexcept { return relativeName; }

    /// Number of the slot that the node's code reads, 0 and up.
    int index() const noexcept { return slotIndex; }

    /// The slot receives every group / every element, not only the node's own.
    bool useAllGroups() const noexcept { return allGroupsWanted; }
    bool useAllElements() const noexcept { return allElementsWanted; }

    /// A change of this slot is applied by module crossfade whatever the node says.
    bool isSmoothUpdate() const noexcept { return smoothUpdate; }

private:
    CStringBuf relativeName;
    int slotIndex = 0;
    bool allGroupsWanted = false;
    bool allElementsWanted = false;
    bool smoothUpdate = false;
};

}
