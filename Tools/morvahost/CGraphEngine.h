// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CAutomation.h"
#include "CRenderEngine.h"

#include <vector>

namespace kor
{

class CAudioGraphHost;

// The equalizer's graph without any plug-in around it, cut where a parameter changes: what the displays listen to, and
// the yardstick of the plug-in's tests.
class CGraphEngine : public CRenderEngine
{
public:
    /// inputs: channels of the graph's layout; those beyond the recording's are silent. events: by time; they must
    /// outlive the engine.
    CGraphEngine(CAudioGraphHost& host, int inputs, std::span<const CAutomationEvent> events = {});

    int latency() const override;
    CError process(std::span<double* const> channels, std::int64_t position, int count) override;

private:
    CAudioGraphHost& graph;
    std::span<const CAutomationEvent> coming;
    std::vector<const double*> sources;         // null for a silent channel
    std::vector<double*> results;
};

}
