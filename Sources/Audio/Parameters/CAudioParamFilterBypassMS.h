// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamFilter.h"

namespace kor
{

// Bypasses the mid/side coders while no pair has two members (`audio:param-filter-bypass-ms`).
class CAudioParamFilterBypassMS : public CAudioParamFilter
{
public:
    std::size_t getSrcCount() const override { return 1; }
    std::size_t getDstCount() const override { return 1; }
    void process(std::span<const CSource> sources, std::span<CAudioParam* const> destinations,
                 const CAudioParamRequest& request, CAudioParamUndoContext* undo) override;

    /// The bypass state, 0 or 1, for the number of the pair that each channel belongs to: 1 to 63, anything else is
    /// none. Any thread; no lock.
    static double bypassOf(std::span<const double> pairs) noexcept;
};

}
