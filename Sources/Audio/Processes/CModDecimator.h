// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessBase.h"
#include "Audio/Graph/CDSPModDelay.h"

#include <optional>

namespace kor
{

// Halves the sample rate and the length of blocks: keeps every other sample. A latency that is odd could not be halved;
// such a signal is delayed by a sample first, so that the samples kept are those a whole number of samples late.
class CModDecimator : public CAudioProcessBase
{
public:
    void reset() override;
    void update() override;

    /// Blocks have an even length, since they come from a node that doubles it; the last sample of any other is lost.
    void process() override;

protected:
    /// The latency, made even, halves with the rate.
    void describeOutputs() override;

private:
    struct CLine
    {
        std::optional<CDSPModDelay> delay;      // absent while there is nothing to align
        double last = 0.0;                      // sample of the block before
        bool hasRun = false;
    };

    void alignChannel(CLine& line);
    void delayChannel(CLine& line, CAudioBufferRef& buffer);

    CLine lines[maxPortChannels];               // by channel number
};

}
