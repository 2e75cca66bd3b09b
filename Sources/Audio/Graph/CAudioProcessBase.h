// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioInputs.h"
#include "Audio/Graph/CAudioParamSlot.h"
#include "Audio/Parameters/CAudioParamListener.h"
#include "Core/CError.h"
#include "Core/CStringBuf.h"

#include <memory>

namespace kor
{

class CAudioGraphContext;
class CAudioProcessDefBase;

/// Where a node is to stand: its name in full and whose parameter values it reads.
struct CAudioProcessPlace
{
    CStringBuf name;
    class CAudioProcessBase* parent = nullptr;
    int group = 0;
    int element = 0; // without the definition's stack-index-shift
    bool standsForGroup = false; // the node or one above it is the instance of a single channel group
    bool isInStack = false; // the caller is the stack that wraps the definition
    bool isInMultiband = false;
};

// Any node of the running graph: input ports, one output port or more, parameter slots with the queue of changes that
// wait for them, and timers. Everything runs on the audio thread, except that the topmost node is created before any
// audio. A node that goes withdraws its listeners, links and buffers by itself.
class CAudioProcessBase : public CAudioParamListener
{
public:
    CAudioProcessBase();
    ~CAudioProcessBase() override;

    /// Second step of creation, when all fields are set and the parameters are bound.
    virtual CError init();

    /// Clears all signal state; settings stay.
    virtual void reset();

    /// Something has changed: channels, rate, latency or parameter values, or a timer runs. See `change` and the
    /// change masks of the slots.
    virtual void update();

    /// Runs a block: prepareInputs, own work, deliverOutputs. The default passes port 0 on.
    virtual void process();

    /// Withdraws from all sources and consumers.
    virtual void disconnectAll();

    /// Between the setting of the fields and init.
    virtual void beforeInit() {}

    /// Makes a node of a definition, ready to be linked: object, fields, parameter slots, init. On failure `out` stays
    /// as it is.
    static CError createProcess(std::unique_ptr<CAudioProcessBase>& out, const CAudioProcessDefBase& definition,
                                CAudioGraphContext& context, const CAudioProcessPlace& place);

    /// As above for the topmost node: before any slot is bound, the remaps and the global parameters of the whole
    /// definition subtree are entered.
    static CError createRootProcess(std::unique_ptr<CAudioProcessBase>& out, const CAudioProcessDefBase& definition,
                                    CAudioGraphContext& context, const CStringBuf& name);

    const CStringBuf& name() const noexcept { return nameText; }
    const CAudioProcessDefBase& definition() const noexcept { return *def; }
    CAudioProcessBase* parent() const noexcept { return parentProcess; }
    CAudioGraphContext& context() const noexcept { return *graph; }
    int group() const noexcept { return groupIndex; }
    int element() const noexcept { return elementIndex; }
    bool standsForGroup() const noexcept { return isGroupInstance; }

    CAudioInputs& inputs() noexcept { return *inputSide; }
    const CAudioInputs& inputs() const noexcept { return *inputSide; }

    /// Output `index`; output 0 always is, others are made by the node's class.
    CAudioOutput& output(std::size_t index = 0) noexcept { return *outputSide[index]; }
    std::size_t outputCount() const noexcept { return outputSide.size(); }

    /// The slot of an audio:param-alloc index; null when there is none.
    CAudioParamSlot* findSlot(int index) noexcept;

    /// Reports a failure during processing through the application; see CAudioGraphContext.
    void report(CError error);

protected:

    /// Block start of every node: block length, channels, parameter changes with update(), alignment, mixing.
    void prepareInputs();

    /// States the outputs' channels. Called after update() when anything changed. Default: output 0 has the channels
    /// of port 0, later by addedLatency().
    virtual void describeOutputs();

    /// Samples that the node itself adds to the latency of what comes in.
    virtual int addedLatency() const { return 0; }

    /// Hands all outputs to their consumers and drops what is left of the inputs.
    void deliverOutputs();

    /// Has update() called in every block until `seconds` of audio have passed; then sets `flag`, calls it once more
    /// and ends. A timer that sets the same flag already is prolonged.
    void startTimer(double seconds, bool& flag);

    /// Context of the errors that this node reports.
    const CStringBuf& errorContext() const noexcept { return nameText; }

    /// Adds a slot that is no audio:param-alloc, bound to the parameter of a name relative to this node.
    CAudioParamSlot& bindParam(const CStringBuf& relativeName);

    /// True when update() has work beyond changed inputs and parameters.
    virtual bool needsUpdate() const { return false; }

    CAudioOutput& addOutput();

    CAudioInputChange change; // of the inputs, for the time of update() and describeOutputs()
    bool isConfigured = false; // has run a block since it was made

    CArray<std::unique_ptr<CAudioParamSlot>> paramSlots;

private:
    struct CTimer
    {
        double secondsLeft;
        bool* flag;
    };

    CError start();
    void bindAllocs();
    void takeParamChanges();
    void runTimers();

    CStringBuf nameText;
    const CAudioProcessDefBase* def = nullptr;
    CAudioProcessBase* parentProcess = nullptr;
    CAudioGraphContext* graph = nullptr;
    int groupIndex = 0;
    int elementIndex = 0;
    bool isGroupInstance = false;
    std::unique_ptr<CAudioInputs> inputSide;
    CArray<std::unique_ptr<CAudioOutput>> outputSide;
    CArray<CTimer> timers;
    bool timerEnded = false;
};

}
