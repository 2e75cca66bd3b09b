// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioPort.h"

namespace kor
{

/// What differs from the last view of a node's inputs.
struct CAudioInputChange
{
    bool channels = false; // channel numbers or groups of some port, or which ports are connected
    bool rate = false;
    bool latency = false;

    bool any() const noexcept { return channels || rate || latency; }
};

// The receiving side of a node: its ports, merged channel by channel, aligned to the latest of all and mixed, one
// buffer per channel. A link that comes or goes without changing that view is no change. Audio thread.
class CAudioInputs
{
public:
    explicit CAudioInputs(CAudioBufferPool& bufferPool);

    bool isWeighted = false; // mean of several sources instead of the sum
    bool isComp = false; // alignment delays start filled with the first sample

    /// Port `index`, made if it is not there. Port 0 always is.
    CAudioPort& port(std::size_t index);
    const CAudioPort& port(std::size_t index) const { return *ports[index]; } // one that is there
    std::size_t portCount() const noexcept { return ports.size(); }

    /// Takes over what sources have stated, and the block length. Says what differs from before.
    CAudioInputChange refresh();

    /// True when the next refresh() would find nothing but the block's length, and mix() would only move buffers:
    /// every channel has one source and no delay.
    bool isSettled() const noexcept;

    /// Delays and mixes the block that the sources have delivered into the ports' channel buffers.
    void mix();

    /// Drops all buffers of the block that nobody took.
    void releaseBuffers() noexcept;

    /// Clears the delay lines.
    void reset();

    double sampleRate() const noexcept { return rateHz; } // 1.0 without any source
    int latency() const noexcept { return largest; }
    int smallestLatency() const noexcept { return smallest; }
    int blockLength() const noexcept { return length; }
    int blockCapacity() const noexcept { return capacity; }

private:
    bool isPlain() const noexcept;
    bool dropGoneSources();
    void mergePort(CAudioPort& port);
    void placeDelays(CAudioFeed& feed);
    void mixChannel(CAudioPortChannel& channel);
    CAudioBufferRef takeDelayed(const CAudioPortChannel::CSource& source, int number);
    CAudioBufferRef takeSilence();

    CAudioBufferPool& pool;
    CArray<std::unique_ptr<CAudioPort>> ports;
    double rateHz = 1.0;
    int largest = 0;
    int smallest = 0;
    int length = 0;
    int capacity = 0;
    bool hasPlainLinks = false; // isPlain() since the last refresh that changed anything
    CArray<CAudioChannel> lastView; // all ports' channels without their latency, an entry before each port
    CArray<CAudioChannel> nextView;
};

}
