// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioBufferPool.h"
#include "Core/CAllocator.h"

#include <memory>
#include <span>

namespace kor
{

class CAudioFeed;
class CAudioProcessBase;
class CDSPModDelay;

/// What the graph knows of a channel beside its samples.
struct CAudioChannel
{
    int number = 0; // 0 to 15
    int group = 0; // channel group, 0 to 15
    int latency = 0; // samples at the port's rate

    friend bool operator==(const CAudioChannel&, const CAudioChannel&) = default;
};

constexpr int maxPortChannels = 16;

// A sending end: the channels that a node puts out, their buffers in the block that runs, and everyone who takes them.
// Its generation counter tells receivers that the channels or the rate are others than before. Audio thread.
class CAudioOutput
{
public:
    /// node: whose output it is; null for the place where a wrapper feeds the nodes inside it.
    explicit CAudioOutput(const CAudioProcessBase* node = nullptr) noexcept : owner(node) {}
    CAudioOutput(const CAudioOutput&) = delete;
    CAudioOutput& operator=(const CAudioOutput&) = delete;
    ~CAudioOutput();

    /// States the channels, sorted by number, without duplicates; blockCapacity: the longest block that can come.
    /// Raises the generation if anything differs.
    void configure(std::span<const CAudioChannel> newChannels, double rate, int newBlockCapacity);

    std::span<const CAudioChannel> channels() const noexcept { return list; }
    double sampleRate() const noexcept { return rateHz; }
    int blockCapacity() const noexcept { return capacity; }
    unsigned generation() const noexcept { return generationCount; }

    /// Buffer of channel `index` of channels(), for the node to fill in before deliver(); empty stands for silence.
    CAudioBufferRef& buffer(std::size_t index) { return buffers[index]; }
    int blockLength = 0;

    /// Hands the buffers to all consumers: a single one gets them moved, several get a reference each.
    void deliver();

    /// Leaves every receiver.
    void disconnectAll();

    const CArray<CAudioFeed*>& consumers() const noexcept { return feeds; }
    const CAudioProcessBase* node() const noexcept { return owner; }

private:
    friend class CAudioFeed;
    const CAudioProcessBase* owner;
    CArray<CAudioChannel> list;
    CArray<CAudioBufferRef> buffers;
    CArray<CAudioFeed*> feeds;
    double rateHz = 1.0;
    int capacity = 0;
    unsigned generationCount = 1;
};

// One connection as its receiver sees it: the buffers that the source has delivered for this block, and the delays that
// align them. Withdraws from its source when it goes.
class CAudioFeed
{
public:
    explicit CAudioFeed(CAudioOutput& output);
    ~CAudioFeed();
    CAudioFeed(const CAudioFeed&) = delete;
    CAudioFeed& operator=(const CAudioFeed&) = delete;

    /// Null once the source has gone.
    CAudioOutput* source() const noexcept { return output; }

    CArray<CAudioBufferRef> buffers; // by the source's channel index
    std::unique_ptr<CDSPModDelay> delays[maxPortChannels]; // by channel number; null where none is needed
    unsigned seenGeneration = 0;

private:
    friend class CAudioOutput;
    CAudioOutput* output;
};

/// A channel of a port after merging: where its samples come from, and the sum of them.
struct CAudioPortChannel
{
    struct CSource
    {
        CAudioFeed* feed;
        std::size_t index; // in the source's channels
    };

    CAudioChannel channel;
    CArray<CSource> sources;
    CAudioBufferRef buffer; // after mixing; the node may take it
};

// A receiving end: every source connected to one input of a node, and the channels that they make together.
class CAudioPort
{
public:
    /// Connects exactly these sources, all different, in this order; connections that stay keep their delays.
    void setSources(std::span<CAudioOutput* const> sources);

    /// Adds a source that is not connected yet.
    void connect(CAudioOutput& source);
    void disconnectAll() { setSources({}); }

    bool isConnected() const noexcept { return !feeds.empty(); }
    std::span<const std::unique_ptr<CAudioFeed>> sources() const noexcept { return feeds; }

    std::span<CAudioPortChannel> channels() noexcept { return merged; }
    std::span<const CAudioPortChannel> channels() const noexcept { return merged; }

    /// The entry of a channel number, null when the port has no such channel.
    CAudioPortChannel* find(int number) noexcept;

private:
    friend class CAudioInputs;
    void releaseBuffers() noexcept;

    CArray<std::unique_ptr<CAudioFeed>> feeds;
    CArray<CAudioPortChannel> merged;
    signed char indexOf[maxPortChannels] = {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
    bool linksChanged = false;
};

}
