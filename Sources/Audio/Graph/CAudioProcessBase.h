// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioInputs.h"
#include "Audio/Graph/CAudioParamSlot.h"
#include "Audio/Parameters/CAudioParamListener.h"
#include "Core/CError.h"
#include "Core/CStringBuf.h"

#include <functional>
#include <memory>
#include <span>

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
    bool joinsRunning = false; // its container has been heard already
};

/// What a node reads and writes on the steady path. Channels are those of port 0, in rising number.
struct CAudioSteadyBlock
{
    std::span<const double* const> inputs; // a pointer per port for every channel: inputs[channel * portCount + port]
    std::size_t portCount;
    std::span<double* const> outputs; // per channel; either its input of port 0 or apart from all inputs
    int count; // samples, 1 or more
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

    // The steady path: while nothing changes, whoever holds a node may run it on plain memory instead of handing
    // buffers through its ports. A node takes part if its output has the channels, rate, latency and length of its
    // port 0. Both paths compute the same.

    /// True when the node's next block would find nothing to do but its samples: no change waits, nothing fades, the
    /// channels of all ports are the last block's, each from one source, none delayed.
    bool isSteady();

    /// Processes a block of any length. Only after isSteady() was true for the slice that runs; a node may be run
    /// several times in a slice, on one stretch of it after the other.
    virtual void runSteady(const CAudioSteadyBlock&) {}

    /// With one result for all channels: on the steady path the outputs are then one buffer, apart from all inputs.
    virtual bool sharesSteadyOutput() const { return false; }

    /// The node changes nothing: on the steady path its outputs are its inputs of port 0 wherever these stand.
    virtual bool passesInput() const { return false; }

    /// Scratch memory that runSteady takes from the context, in samples.
    virtual std::size_t steadyScratch() const { return 0; }

    // A node that sounds leaves its container's chain without a step if its class knows how.

    /// Asked at the start of every block for which the node is bypassed: begins to fade to changing nothing, and says
    /// whether it is there, so that it may go.
    virtual bool mayLeave() { return true; }

    /// The node is wanted again before it was gone.
    virtual void stayOn() {}

    /// Visits the nodes that run inside this one, in the order in which they run.
    using CVisitor = std::function<void(CAudioProcessBase& node)>;
    virtual void visitRunning(const CVisitor&) const {}

    /// Between the setting of the fields and init.
    virtual void beforeInit() {}

    /// Makes a node of a definition, ready to be linked: object, fields, parameter slots, init. On failure `out` stays
    /// as it is.
    static CError createProcess(std::unique_ptr<CAudioProcessBase>& out, const CAudioProcessDefBase& definition,
                                CAudioGraphContext& context, const CAudioProcessPlace& place);

    /// As above for the topmost node: before any slot is bound, the remaps and the global parameters of the whole
    /// definition subtree are entered; at the end its parameter filters run.
    static CError createRootProcess(std::unique_ptr<CAudioProcessBase>& out, const CAudioProcessDefBase& definition,
                                    CAudioGraphContext& context, const CStringBuf& name);

    const CStringBuf& name() const noexcept { return nameText; }
    const CAudioProcessDefBase& definition() const noexcept { return *def; }
    CAudioProcessBase* parent() const noexcept { return parentProcess; }
    CAudioGraphContext& context() const noexcept { return *graph; }
    int group() const noexcept { return groupIndex; }
    int element() const noexcept { return elementIndex; }
    bool standsForGroup() const noexcept { return isGroupInstance; }

    /// The node came into a graph that sounds already, so that it has to blend in.
    bool joinsRunning() const noexcept { return isJoining; }

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

    /// States what has come out of inner nodes as this node's outputs, port for port, and takes the buffers over.
    void takeOutputs(CAudioInputs& result);

    /// What a class says to isSteady() beyond its inputs, changes and timers; asked again only when something has
    /// changed. Default: no part in the steady path.
    virtual bool checkSteady() { return false; }

    /// True when output 0 is described as port 0 is.
    bool isStraight() const;

    /// The same for a node that must have no further ports.
    bool isStraightThrough() const { return isStraight() && inputSide->portCount() == 1 && outputCount() == 1; }

    /// process() on the steady path, for a node of one port that is steady.
    void processSteadily();

    /// Has update() called in every block until `seconds` of audio have passed; then sets `flag`, calls it once more
    /// and ends. A timer that sets the same flag already is prolonged.
    void startTimer(double seconds, bool& flag);

    /// Context of the errors that this node reports.
    const CStringBuf& errorContext() const noexcept { return nameText; }

    /// Adds a slot that is no audio:param-alloc, bound to the parameter of a name relative to this node.
    CAudioParamSlot& bindParam(const CStringBuf& relativeName);

    /// Changes wait, but nothing else has happened: takes them if they call for no update(), which lets the node stay
    /// on the steady path.
    virtual bool settlesChanges() { return false; }

    /// Brings the slots up to date and marks in their masks what has changed.
    void takeParamChanges();

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
    int groupToFollow(const CAudioParam& param) const;
    void runTimers();

    CStringBuf nameText;
    const CAudioProcessDefBase* def = nullptr;
    CAudioProcessBase* parentProcess = nullptr;
    CAudioGraphContext* graph = nullptr;
    int groupIndex = 0;
    int elementIndex = 0;
    bool isGroupInstance = false;
    bool isJoining = false;
    std::uint64_t steadyMark = 0; // deliveries and rounds so far when checkSteady() last said yes; 0: not since the last process
    std::unique_ptr<CAudioInputs> inputSide;
    CArray<std::unique_ptr<CAudioOutput>> outputSide;
    CArray<CTimer> timers;
    bool timerEnded = false;
};

}
