// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamStorage.h"
#include "Core/CStringBuf.h"

#include <cstdint>

namespace kor
{

class CAudioParam;
class CAudioParamAllocDef;

// A node's own copy of a parameter's values, kept up to date on the audio thread, with a mask of the groups that have
// changed since the node last looked.
class CAudioParamSlot
{
public:
    CStringBuf name; // as the definition names it
    int index = -1; // slot number of the node's code; -1: none
    const CAudioParamAllocDef* alloc = nullptr; // null when the node bound it by itself
    CAudioParam* param = nullptr;
    int boundGroup = everyIndex; // the only one whose values it follows; everyIndex: all
    CAudioParamStorage values;
    std::uint32_t changeMask = 0; // bit per group

    /// Element 0 of a group as a number of things: rounded, 0 to `most`.
    int count(int group, int most) const;

    bool useAllGroups() const;
    bool isSmoothUpdate() const;
};

}
