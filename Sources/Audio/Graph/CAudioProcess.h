// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessBase.h"
#include "Audio/Graph/CAudioProcessWiring.h"

namespace kor
{

class CAudioProcessBypassStateDef;

// A running container: makes the nodes that its plan calls for, wires them, and runs them in order. A change of a
// bypass state makes the plan anew at the start of a block; nodes that stay keep all their state. A container whose
// output nothing feeds passes its input on.
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

    /// The running node of a child name, null while it has none.
    CAudioProcessBase* findChild(const CStringBuf& childName) const;

    /// Number of rebuilds so far.
    int rebuildCount() const noexcept { return rebuilds; }

protected:
    void describeOutputs() override;

private:
    struct CBypassState
    {
        const CAudioProcessBypassStateDef* definition;
        CAudioParamSlot* param;
        CAudioParamSlot* andParam; // null without one
        bool isTrue = false;
    };

    bool evaluateStates();
    void rebuild();
    void makeNodes();
    void connectNodes();
    CError makeNode(std::size_t index);
    CAudioOutput* findOutput(const CAudioProcessWiring::CInput& input);
    void putOut(CAudioInputs& result);
    void connectInputs(CAudioInputs& target, const CArray<CAudioProcessWiring::CInput>& wanted);

    CAudioProcessWiring wiring;
    CArray<CBypassState> states;
    CArray<std::unique_ptr<CAudioOutput>> starts; // the container's inputs as its nodes see them
    std::unique_ptr<CAudioInputs> end; // the container's outputs as its nodes see them
    CArray<std::unique_ptr<CAudioProcessBase>> nodes; // by entry; null while not there
    CArray<CAudioProcessBase*> runList;
    bool isDirty = true;
    int rebuilds = 0;
};

}
