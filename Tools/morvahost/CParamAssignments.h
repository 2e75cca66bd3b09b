// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CParamSetting.h"

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kor
{

// The --set options of a command line. Everything that is wrong with one is a failure in one line.
class CParamAssignments
{
public:
    /// Reads the forms; knows of no parameter yet.
    CError parse(const std::vector<std::string>& texts);

    /// Checks them all against an instance without changing it.
    CError resolve(const CAudioInstance& instance);

    /// One more behind the others, resolved already.
    void add(const CParamAssignment& assignment, CParamSetting setting);

    bool isEmpty() const noexcept { return list.empty(); }

    /// The last resolved one of a parameter; null when there is none.
    const CParamSetting* find(std::string_view key) const;

    /// Gives the resolved values, in order.
    void give(const CAudioInstance& instance);

    /// What is worth knowing after give(): values that did not fit, bands that are not in use. One text each.
    const std::vector<std::string>& notes() const noexcept { return noteTexts; }

    /// Channel groups that any of them names.
    const std::set<int>& groups() const noexcept { return namedGroups; }

    static CError parseOne(std::string_view text, CParamAssignment& assignment);

private:
    void keep(CParamSetting setting);

    std::vector<CParamAssignment> list;
    std::vector<CParamSetting> settings;
    std::vector<std::string> noteTexts;
    std::set<int> namedGroups;
};

}
