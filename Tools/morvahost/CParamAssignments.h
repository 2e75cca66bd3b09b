// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kor
{

class CAudioInstance;

/// One --set: KEY[g,e]=TEXT, or KEY=TEXT for group 0, element 0.
struct CParamAssignment
{
    std::string key;                // name below the main process
    int group = 0;
    int element = 0;
    std::string text;               // what a user would type
};

// The --set options of a command line. Everything that is wrong with one is a failure in one line; a value outside its
// range is no failure but is taken to the nearest end, and said.
class CParamAssignments
{
public:
    /// Reads the forms; knows of no parameter yet.
    CError parse(const std::vector<std::string>& texts);

    /// Gives the values to an instance, in order. Stops at the first that it cannot take.
    CError apply(const CAudioInstance& instance);

    /// What apply() changed to make it fit, one text a value.
    const std::vector<std::string>& notes() const noexcept { return noteTexts; }

    /// Groups that any of them names.
    const std::set<int>& groups() const noexcept { return namedGroups; }

    static CError parseOne(std::string_view text, CParamAssignment& assignment);

private:
    CError applyOne(const CAudioInstance& instance, const CParamAssignment& assignment);

    std::vector<CParamAssignment> list;
    std::vector<std::string> noteTexts;
    std::set<int> namedGroups;
};

}
