// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioNodeChain.h"

namespace kor
{

// Stands in the place of a definition with is-stacked: one chain of its nodes for every channel group that arrives, as
// many in series as the stack parameter asks for in that group (one without such a parameter). Node i of a chain
// listens to element i + stack-index-shift of its group. With is-channel-stack every channel has a chain of its own.
// A group that leaves takes its nodes with it; all others keep theirs with all memory, and so do the first nodes of a
// chain when its length changes. A group without nodes passes.
class CAudioProcessStack : public CAudioProcessBase
{
public:
    CError init() override;
    void reset() override;
    void update() override;
    void process() override;
    void disconnectAll() override;
    void runSteady(const CAudioSteadyBlock& block) override;
    std::size_t steadyScratch() const override;
    void visitRunning(const CVisitor& visit) const override;

protected:
    void describeOutputs() override;
    bool checkSteady() override;

private:
    struct CChain
    {
        int group = 0;
        int channel = -1; // the only one it carries; -1: all of the group
        CAudioNodeChain nodes;
        std::size_t inputs[maxPortChannels] = {}; // which channels of port 0 it takes
        std::size_t inputCount = 0;

        explicit CChain(CAudioBufferPool& pool) : nodes(pool) {}
    };

    int levelCount(int group) const;
    void syncChains();
    void syncLevels(CChain& chain);
    void collectOutputs();

    CAudioParamSlot* countSlot = nullptr; // of the stack parameter; null without one
    CArray<std::unique_ptr<CChain>> chains; // in the order in which groups came
};

}
