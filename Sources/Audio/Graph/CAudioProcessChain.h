// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioNodeChain.h"

namespace kor
{

// A node whose work is done by nodes in series that it makes and drops by itself, in update(). With none it passes its
// input on. A class derives from it and only says which nodes there are.
class CAudioProcessChain : public CAudioProcessBase
{
public:
    CError init() override;
    void reset() override;
    void process() override;
    void disconnectAll() override;
    void runSteady(const CAudioSteadyBlock& block) override;
    std::size_t steadyScratch() const override;
    void visitRunning(const CVisitor& visit) const override;

protected:
    /// A node for the chain, ready to be put in: of `childDefinition`, under a full name, with this node's group and
    /// element.
    CError makeNode(std::unique_ptr<CAudioProcessBase>& out, const CAudioProcessDefBase& childDefinition,
                    const CStringBuf& fullName);

    /// States the chain's channels; the outputs follow when it has run.
    void describeOutputs() override;

    bool checkSteady() override;

    CAudioNodeChain& chain() noexcept { return *nodes; }
    const CAudioNodeChain& chain() const noexcept { return *nodes; }

private:
    std::unique_ptr<CAudioNodeChain> nodes; // made by init
};

}
