// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Plugin/CAudioExtParamHostBridge.h"
#include "Audio/Plugin/CAudioHostBlock.h"
#include "Audio/Plugin/CAudioInstance.h"

namespace kor
{

class CAudioExtParamList;

// The plug-in, whatever the host's interface: an instance of the equalizer, fed with a host's blocks of any length and
// with parameter events at any sample of them. A face towards a host derives from it, translates that host's calls and
// implements the bridge. Whatever a host may call from more threads than one is safe here: the graph is only ever run
// by one, and what the audio thread cannot do itself (store, tell clients, log) waits for settle().
class CAudioWrapper : public CAudioExtParamHostBridge
{
public:
    static constexpr int eventCapacity = 56 * 32;       // in one block
    static constexpr int maxChannels = 16;              // in and out, the side chain counted; beyond is silence

    CAudioWrapper();
    ~CAudioWrapper() override;

    /// Builds the instance and joins it to the bridge. Once. On failure the wrapper is of no use but to be destroyed.
    CError init();
    bool isInitialised() const noexcept;

    // Valid after init().
    CAudioInstance& instance() const noexcept;
    CAudioExtParamList& extParams() const noexcept;
    CAudioParamRegistry& registry() const noexcept { return instance().registry(); }

    // The host's set-up. Any thread but the audio thread, also while audio runs.

    /// In hertz; the block to come takes it over. A rate outside 8000 to 768000 is refused.
    CError setSampleRate(double hertz);

    /// The host's arrangement: counts, and a label for each input and side-chain channel. Untouched routing follows it.
    void setArrangement(const CAudioHostChannels& channels, CArray<CStringBuf> labels);

    /// Makes everything ready for blocks to come, so that latency and outputs are right; ends it.
    void activate();
    void deactivate();

    /// Blocks will come / come no more: clears the signal state and tells the displays.
    void startProcessing();
    void stopProcessing();

    /// Total latency in samples as of the last block or activation; an instance at rest looks again. The host has been
    /// told by this.
    int getLatency();

    /// Samples that sound on after the input ends.
    int getTail() const;

    /// Stores what the audio thread left behind, tells clients and the host's display of it, and logs its failures.
    /// Everything above does it by itself; call it from time to time where a thread is at rest.
    void settle();

    // State, as CAudioInstance has it; the changes count as the host's own.
    CError saveState(COutputStream& stream);
    CError loadState(CInputStream& stream);

    /// The host chooses a program.
    void setProgram(int index);

    // Window size in pixels, at the scale of the screen.
    void setWindowSize(int width, int height);

    // Audio thread, or any other that the host uses in its place. None of them allocates or waits in the steady state.

    /// The host renders faster than real time from here on, or no more. Any thread.
    void setOffline(bool isOffline);

    /// A host's parameter write at a sample of the next process call. Beyond eventCapacity, or with an index that is
    /// no row, it is dropped; values are clamped, NaN ignored. Offsets are clamped to the block.
    void addEvent(int offset, int index, double normalized) noexcept;

    /// Runs one block, with the channels that it has. With no frames or no channels events take effect, and nothing
    /// else happens.
    void process(const CAudioHostBlock& block) noexcept;

private:
    struct CImplementation;
    std::unique_ptr<CImplementation> impl;
};

}
