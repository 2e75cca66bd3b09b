// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessBase.h"

namespace kor
{

// Nodes in series that their owner makes and runs by itself: what goes in at the start passes every node and comes out
// at the end, and an empty chain passes it on, so that no block is lost or doubled when a chain fills or empties.
// Nodes that stay keep their memory. Audio thread.
class CAudioNodeChain
{
public:
    explicit CAudioNodeChain(CAudioBufferPool& pool);

    std::size_t size() const noexcept { return nodes.size(); }
    CAudioProcessBase& node(std::size_t index) const noexcept { return *nodes[index]; }

    /// Puts a node before the one at `index` (0 to size()).
    void insert(std::size_t index, std::unique_ptr<CAudioProcessBase> node);
    void append(std::unique_ptr<CAudioProcessBase> node) { insert(size(), std::move(node)); }

    /// Destroys the node at `index`.
    void remove(std::size_t index);
    void clear();

    /// States what goes in. channels: sorted by number.
    void configure(std::span<const CAudioChannel> channels, double sampleRate, int blockCapacity);

    /// The block to come, by channel of the last configure(); empty stands for silence.
    CAudioBufferRef& buffer(std::size_t channel) { return start.buffer(channel); }

    /// Runs the block through all nodes. Afterwards port 0 of result() has channels and buffers, for the owner to take.
    void run(int blockLength);
    CAudioInputs& result() noexcept { return end; }

    // The steady path of all nodes together; an empty chain passes its input on there too.
    bool isSteady();
    void runSteady(const CAudioSteadyBlock& block);
    std::size_t steadyScratch() const;

    void reset();
    void disconnectAll();
    void visitRunning(const CAudioProcessBase::CVisitor& visit) const;

private:
    void relink();

    CAudioOutput start;
    CArray<std::unique_ptr<CAudioProcessBase>> nodes;
    CAudioInputs end;
};

}
