// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStringBuf.h"

namespace kor
{

/// Name of one state of an enumeration; the short one, for narrow controls, may be empty.
struct CAudioParamStateName
{
    CStringBuf longName;
    CStringBuf shortName;

    friend bool operator==(const CAudioParamStateName&, const CAudioParamStateName&) = default;
};

/// Cuts "Off;Lo-shelf|Lo-shlf" at ";", each piece into long and short name at "|". An empty text gives no names.
CArray<CAudioParamStateName> parseStateNameList(const CStringBuf& text);

// A list of state names that changes while the program runs, such as the names of a list of presets. Any thread.
class CAudioParamNameList
{
public:
    virtual ~CAudioParamNameList() = default;
    virtual CArray<CAudioParamStateName> stateNames() const = 0;
};

/// Finds the list of a name; null when there is none. The list must live as long as the process.
using CAudioParamNameListFinder = const CAudioParamNameList* (*)(const CStringBuf& listName);

/// Who answers for state names of the form "@list". Set once at the start, before any tree is loaded; null for nobody,
/// and then such states have no names.
void setAudioParamNameListFinder(CAudioParamNameListFinder finder) noexcept;
bool hasAudioParamNameListFinder() noexcept;
const CAudioParamNameList* findAudioParamNameList(const CStringBuf& listName);

}
