// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamFilter.h"

namespace kor
{

// Bypasses the solo node while no channel group is soloed (`audio:param-filter-bypass-group-solo`).
class CAudioParamFilterBypassGroupSolo : public CAudioParamFilter
{
public:
    std::size_t getSrcCount() const override { return 1; }
    std::size_t getDstCount() const override { return 1; }
    void process(std::span<const CSource> sources, std::span<CAudioParam* const> destinations,
                 const CAudioParamRequest& request, CAudioParamUndoContext* undo) override;

    /// The bypass state, 0 or 1, for the solo switch in element 0 of every group; a group without an element has none.
    /// Any thread; no lock.
    static double bypassOf(const CAudioParamStorage& solo) noexcept;
};

}
