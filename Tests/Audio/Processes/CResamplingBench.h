// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessBase.h"
#include "ProcessTestKit.h"
#include "Support/GraphNodes.h"

#include <string>
#include <vector>

namespace kor::test
{

// Sits where the equalizer would, at the high rate: keeps what it hears, and may play a tone instead.
class CTapProcess : public CAudioProcessBase
{
public:
    void process() override;

    bool keepsSamples = true;
    CSignal heard;                          // of the first channel
    double sampleRate = 0.0;
    double injectFrequency = 0.0;           // as a share of the rate; 0: none

private:
    double phase = 0.0;
};

// Reports the latency in its parameter `samples` (slot 0), and delays nothing.
class CLatencyProcess : public CAudioProcessBase
{
protected:
    int addedLatency() const override { return static_cast<int>(paramSlots[0]->values.getValue(0, 0)); }
};

/// A graph "main" of one child, behind a node that reports the latency in the parameter `late.samples`.
CTreeNode lateGraph(const char* tag, CAttrs attrs);

// The oversampled part of the graph with nothing in it: up, the tap, down, and the latency uniformer while `is-uniform`
// is on, with the product's filters and half-band sets of choice.
class CResamplingBench : public CRunningGraph
{
public:
    explicit CResamplingBench(const std::string& steep = "hbf106t20", const std::string& soft = "hbf116t4");

    /// Starts anew with these settings.
    void start(double rateHz, int stages, bool isLinear);
    void setStages(int stages) { set("oversampling", stages + 1); }

    CTapProcess& tap() { return dynamic_cast<CTapProcess&>(*find("tap")); }

    /// The nodes inside a resampler, in their order.
    std::vector<CAudioProcessBase*> nodesOf(const char* resampler);
};

}
