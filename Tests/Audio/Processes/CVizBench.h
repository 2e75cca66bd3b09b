// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioGraphHost.h"
#include "MeteringTestKit.h"
#include "ProcessTestKit.h"
#include "Support/CVizReader.h"
#include "Support/GraphNodes.h"

namespace kor::test
{

// A running graph of a test's own, the container `main`, with a collector and somebody who looks.
class CVizBench
{
public:
    explicit CVizBench(std::vector<CTreeNode> nodes, CAttrs attrs = {}, double framesPerSecond = 30.0);

    void start(const std::vector<int>& groups, double rateHz);

    /// Processes in blocks of the lengths that `blocks` gives in turn, each after the listeners' start of a block;
    /// returns what comes out.
    CSignals run(const CSignals& in, const std::vector<int>& blocks = {512});

    void set(const std::string& name, double value, int group = 0);

    /// Nodes that run in the main container.
    std::vector<std::string> running() const;

    std::unique_ptr<CTestTree> tree;
    CAudioEnv* env = nullptr;
    CAudioParamCollector* params = nullptr;
    CVizReader viz;
    std::unique_ptr<CAudioGraphHost> host;
};

/// An `audio:modMeter` with its parameters, seconds and linear gains.
CTreeNode meterNode(const char* name, const CMeterKind& kind, const CMeterSettings& settings, CAttrs attrs = {});
CTreeNode spectrumNode(const char* name, const CSpectrumSettings& settings, CAttrs attrs = {});

/// A bypass state that is true while nobody looks at a slot.
CTreeNode vizState(int id, const char* slot);

}
