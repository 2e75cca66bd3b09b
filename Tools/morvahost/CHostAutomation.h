// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CAutomation.h"
#include "CExtAssignments.h"
#include "CParamAssignments.h"

#include <cstdint>

namespace kor
{

/// A change of a host parameter while the sound runs.
struct CHostEvent
{
    std::int64_t frame = 0;             // the first sample that it holds for
    std::uint32_t id = 0;
    double value = 0.0;                 // normalised
};

// A table of changes as a host gives them to a plug-in. A row names a host parameter ("1Gain2") or, for the equalizer, a
// KEY[g,e]: at time 0 any that --set knows, later those that a host parameter stands for. Everything that is wrong with
// a row is a failure that begins with FILE:LINE.
class CHostAutomation
{
public:
    /// Sorts the rows into settings and changes. instance: of the equalizer when the plug-in is one, else null; nothing of
    /// the two is changed. Rows at 0 are added to `settings` and `ext`.
    CError resolve(const CAutomation& table, const CVst3Plugin& plugin, const CAudioInstance* instance,
                   double sampleRate, CParamAssignments& settings, CExtAssignments& ext);

    /// By time; rows of the same time in the order of the file.
    std::span<const CHostEvent> events() const noexcept { return sorted; }

    const std::vector<std::string>& notes() const noexcept { return noteTexts; }

private:
    CError resolveKey(const CAutomation::CRow& row, const std::string& at, const CVst3Plugin& plugin,
                      const CAudioInstance& instance, CParamAssignments& settings, CHostEvent& event);

    std::vector<CHostEvent> sorted;
    std::vector<std::string> noteTexts;
};

}
