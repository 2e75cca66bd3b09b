// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAllocator.h"

#include <span>

namespace kor
{

struct CAudioFilterStageKind;

/// One section of a filter. A biquad holds b0, b1, b2 and a1, a2, a first-order section b0, b1 and a1, all divided by
/// a0; a half-band filter the coefficients of its two branches; an FIR filter its response and no denominator.
struct CAudioFilterStage
{
    const CAudioFilterStageKind* kind = nullptr;    // null when designed without a workspace, and for FIR filters
    CArray<double> numerator;
    CArray<double> denominator;
};

// What a filter generator makes: sections in the order they run, and the delay of the whole. A description that is
// cleared keeps the memory of its stages, so that designing into it again allocates nothing.
class CAudioFilterSpec
{
public:
    int latency = 0;                                // samples

    void clear() noexcept
    {
        latency = 0;
        count = 0;
    }

    /// A new stage at the end, with empty lists. Valid until the next is added.
    CAudioFilterStage& addStage(const CAudioFilterStageKind* kind)
    {
        if (count == storage.size())
            storage.emplace_back();
        CAudioFilterStage& stage = storage[count++];
        stage.kind = kind;
        stage.numerator.clear();
        stage.denominator.clear();
        return stage;
    }

    std::span<const CAudioFilterStage> stages() const noexcept { return {storage.data(), count}; }

private:
    CArray<CAudioFilterStage> storage;
    std::size_t count = 0;                          // stages in use
};

}
