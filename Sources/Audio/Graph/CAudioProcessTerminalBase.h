// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioModule.h"
#include "Audio/Graph/CAudioModuleSlot.h"
#include "Audio/Graph/CAudioProcessBase.h"

namespace kor
{

/// One module's share of a block: a pointer per input port (null where the port has no such channel) and where the
/// result goes. The output may be inputs[0]; it is apart from the buffers of every other run.
struct CAudioModuleRun
{
    CAudioModule* module;
    std::span<const double* const> inputs;
    double* output;
};

// A leaf of the graph: one module per channel, or one for all of them with is-terminal-whole. Decides for every
// parameter change whether the modules take it in place or a second module fades in, and keeps faded-out modules as
// spares, so that crossfades allocate nothing once they have been heard.
class CAudioProcessTerminalBase : public CAudioProcessBase
{
public:
    void reset() override;
    void update() override;
    void process() override;
    void runSteady(const CAudioSteadyBlock& block) override;
    bool sharesSteadyOutput() const override;
    bool mayLeave() override;
    void stayOn() override;

    /// A new module of this node's class. Allocates; called only when there is no spare.
    virtual std::unique_ptr<CAudioModule> createModule() = 0;

    /// Crossfades that run just now, over all channels.
    int runningFades() const noexcept;

    /// The module that stays on a channel when all its crossfades have ended; null for a channel that is not there.
    /// With is-terminal-whole it is found under every channel number.
    CAudioModule* findModule(int channel) const noexcept;

protected:
    /// Runs the modules of this block that compute and are in no crossfade, all channels at once, so that a class can
    /// work on several side by side. Every module has passThroughPort() -1. Not called with is-terminal-whole.
    /// Default: one processPorts after the other.
    virtual void processSteady(std::span<const CAudioModuleRun> runs, int count);

    /// A channel's latency is that of the inputs plus what its newest module adds.
    void describeOutputs() override;
    bool checkSteady() override;

private:
    bool isWhole() const noexcept;
    void rebuildSlots();
    void fillSlot(CAudioModuleSlot& slot, int channel, int group);
    void updateSlot(CAudioModuleSlot& slot, bool mustUpdate);
    void takeSettings(CAudioModule& module);
    void startFade(CAudioModuleSlot& slot);
    std::unique_ptr<CAudioModule> takeModule(int channel, int group);
    void makeSpares();
    void retire(std::unique_ptr<CAudioModule> module);
    void dropFaded(CAudioModuleSlot& slot);

    CAudioBufferRef takeBuffer();
    void gatherInputs();
    std::span<const double* const> inputsOf(std::size_t channel) const noexcept;
    CAudioBufferRef passedThrough(std::size_t channel, int port);
    void mixInto(CAudioBufferRef& sounding, CAudioBufferRef& fresh, CAudioModuleFade& fade);
    void processSlots();
    CAudioBufferRef processFading(CAudioModuleSlot& slot, std::size_t channel);
    void processWhole();
    static void passSteadily(const CAudioSteadyBlock& block, std::size_t channel, int port);
    void runWhole(CAudioModule& module, CArray<CAudioBufferRef>& results, bool mayWriteInPlace);

    CArray<CAudioModuleSlot> slots; // by channel of port 0; one with is-terminal-whole
    CArray<CAudioModuleSlot> oldSlots; // scratch of rebuildSlots
    CArray<std::unique_ptr<CAudioModule>> spares;
    bool fadeTimerEnded = false;
    bool isLeaving = false; // on the way to changing nothing, or there

    // Of the block that runs.
    CArray<const double*> inputPointers; // port after port for every channel
    std::size_t pointersPerChannel = 1;
    CArray<CAudioModuleRun> runs;
    CArray<CAudioBufferRef> held; // inputs that are still read
    CArray<CAudioBufferRef> wholeResults;
    CArray<CAudioBufferRef> wholeFresh;
    CArray<const double*> wholeIn;
    CArray<double*> wholeOut;
};

/// The terminal whose modules are of class T.
template <class T>
class CAudioProcessTerminal : public CAudioProcessTerminalBase
{
public:
    std::unique_ptr<CAudioModule> createModule() override { return std::make_unique<T>(); }
};

}
