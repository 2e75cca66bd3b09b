// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalBase.h"

namespace kor
{

// Delays all channels so that the latency in front of it and its own sum up to a constant of the sample rate: the host
// sees no change when the latency of the graph moves. Where that is not possible it reports so, once per configuration,
// and adds nothing.
class CModLatencyUniformer : public CAudioProcessTerminalBase
{
public:
    std::unique_ptr<CAudioModule> createModule() override;

    /// Reports "Unsupported sample rate %f in LatencyUniformer" and
    /// "Too high latency %i at sample rate %f in LatencyUniformer".
    void update() override;

private:
    int findPadding(); // samples
};

}
