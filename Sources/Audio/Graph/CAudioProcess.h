// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessBase.h"
#include "Audio/Graph/CAudioProcessWiring.h"
#include "Audio/Graph/CAudioSteadyPlan.h"

namespace kor
{

class CAudioProcessBypassStateDef;

// A running container: makes the nodes that its plan calls for, wires them, and runs them in order. A change of a
// bypass state makes the plan anew at the start of a block; nodes that stay keep all their state. A node that is
// bypassed leaves when it says that nobody will hear it. A container whose output nothing feeds passes its input on.
class CAudioProcess : public CAudioProcessBase
{
public:
    ~CAudioProcess() override;

    /// "Audio process def of invalid class supplied.", "Duplicate audio process name '%1'."
    CError init() override;
    void reset() override;
    void update() override;
    void process() override;
    void disconnectAll() override;
    void runSteady(const CAudioSteadyBlock& block) override;
    std::size_t steadyScratch() const override;
    void visitRunning(const CVisitor& visit) const override;

    /// The running node of a child name, null while it has none.
    CAudioProcessBase* findChild(const CStringBuf& childName) const;

    /// Number of rebuilds so far.
    int rebuildCount() const noexcept { return rebuilds; }

protected:
    void describeOutputs() override;
    bool needsUpdate() const override;
    bool settlesChanges() override;
    bool checkSteady() override;

private:
    struct CBypassState
    {
        const CAudioProcessBypassStateDef* definition;
        CAudioParamSlot* param;
        CAudioParamSlot* andParam; // null without one
        bool isTrue = false;
    };

    bool isTrueNow(const CBypassState& state) const;
    bool evaluateStates();
    void rebuild();
    void makeNodes();
    void connectNodes();
    CError makeNode(std::size_t index);
    CAudioOutput* findOutput(const CAudioProcessWiring::CInput& input);
    bool planSteadyPath();
    bool lingers(std::size_t index);
    bool isBypassed(int id) const;
    void connectInputs(CAudioInputs& target, const CArray<CAudioProcessWiring::CInput>& wanted);

    CAudioProcessWiring wiring;
    CArray<CBypassState> states;
    CArray<std::unique_ptr<CAudioOutput>> starts; // the container's inputs as its nodes see them
    std::unique_ptr<CAudioInputs> end; // the container's outputs as its nodes see them
    CArray<std::unique_ptr<CAudioProcessBase>> nodes; // by entry; null while not there
    CArray<CAudioProcessBase*> runList;
    CAudioSteadyPlan steadyPlan;
    CArray<std::size_t> planPorts; // scratch of planSteadyPath, kept for their storage
    CArray<CAudioSteadyPlan::CSource> planSources;
    bool isDirty = true;
    bool hasTurned = false; // some bypass state has, and the graph does not show it yet
    bool isVizWaiting = false; // a state for the display has changed that no slice had room for yet
    bool isLingering = false; // some node stays in the chain although it is bypassed
    int rebuilds = 0;
};

}
