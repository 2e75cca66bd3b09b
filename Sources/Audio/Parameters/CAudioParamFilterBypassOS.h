// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamFilter.h"

namespace kor
{

// Bypasses the resamplers while the working oversampling mode is 1x (`audio:param-filter-bypass-os`). Sources: the
// user's choice (0 "Auto", then 1x, 2x, ...) and the mode of the host, which serves for "Auto" (0 is 1x).
class CAudioParamFilterBypassOS : public CAudioParamFilter
{
public:
    std::size_t getSrcCount() const override { return 2; }
    std::size_t getDstCount() const override { return 1; }
    void process(std::span<const CSource> sources, std::span<CAudioParam* const> destinations,
                 const CAudioParamRequest& request, CAudioParamUndoContext* undo) override;

    /// The bypass state, 0 or 1. Any thread; no lock.
    static double bypassOf(double oversampling, double hostMode) noexcept;
};

}
