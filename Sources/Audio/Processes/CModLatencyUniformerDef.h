// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessDefBase.h"

namespace kor
{

// Definition of the node that brings the graph to one latency per sample rate (`audio:modLatencyUniformer`): the
// attribute `latencies` has pairs "rate=samples" between semicolons, in rising order of rate.
class CModLatencyUniformerDef : public CAudioProcessDefBase
{
public:
    /// "Invalid item '%1' in 'latencies'.", "The rates in 'latencies' do not rise at '%1'."
    CError init() override;

    std::unique_ptr<CAudioProcessBase> createObject() const override;

    /// Samples of the first entry whose rate is at least `rateHz`, rounded; -1 when there is none.
    int samplesAt(double rateHz) const noexcept;

private:
    struct CEntry
    {
        int rateHz;
        int samples;
    };

    CArray<CEntry> entries;
};

}
