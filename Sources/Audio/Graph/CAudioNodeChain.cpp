// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioNodeChain.h"

#include <algorithm>

namespace kor
{

namespace
{

// Short enough that all channels of a stretch stay in the nearest cache while it passes every node.
constexpr int stretchSamples = 512;

}

CAudioNodeChain::CAudioNodeChain(CAudioBufferPool& pool) : end(pool)
{
    relink();
}

void CAudioNodeChain::insert(std::size_t index, std::unique_ptr<CAudioProcessBase> node)
{
    nodes.insert(nodes.begin() + static_cast<std::ptrdiff_t>(index), std::move(node));
    relink();
}

void CAudioNodeChain::remove(std::size_t index)
{
    nodes.erase(nodes.begin() + static_cast<std::ptrdiff_t>(index));
    relink();
}

void CAudioNodeChain::clear()
{
    nodes.clear();
    relink();
}

void CAudioNodeChain::relink()
{
    CAudioOutput* source = &start;
    for (const auto& node : nodes)
    {
        node->inputs().port(0).setSources({&source, 1});
        source = &node->output();
    }
    end.port(0).setSources({&source, 1});
}

void CAudioNodeChain::configure(std::span<const CAudioChannel> channels, double sampleRate, int blockCapacity)
{
    start.configure(channels, sampleRate, blockCapacity);
}

void CAudioNodeChain::run(int blockLength)
{
    start.blockLength = blockLength;
    start.deliver();
    for (const auto& node : nodes)
        node->process();
    end.refresh();
    end.mix();
}

bool CAudioNodeChain::isSteady()
{
    return end.isSettled() && std::ranges::all_of(nodes, [](const auto& node) { return node->isSteady(); });
}

void CAudioNodeChain::runSteady(const CAudioSteadyBlock& block)
{
    const std::size_t channels = block.outputs.size();
    double* places[maxPortChannels];
    for (std::size_t c = 0; c < channels; ++c)
    {
        places[c] = block.outputs[c];
        if (block.inputs[c] != places[c])
            std::copy_n(block.inputs[c], block.count, places[c]);
    }
    const int stretch = nodes.size() > 1 ? stretchSamples : block.count;
    for (int done = 0; done < block.count; done += stretch)
    {
        const int count = std::min(stretch, block.count - done);
        for (const auto& node : nodes)
            node->runSteady({{places, channels}, 1, {places, channels}, count});
        for (std::size_t c = 0; c < channels; ++c)
            places[c] += count;
    }
}

std::size_t CAudioNodeChain::steadyScratch() const
{
    std::size_t most = 0;
    for (const auto& node : nodes)
        most = std::max(most, node->steadyScratch());
    return most;
}

void CAudioNodeChain::reset()
{
    end.reset();
    for (const auto& node : nodes)
        node->reset();
}

void CAudioNodeChain::disconnectAll()
{
    for (const auto& node : nodes)
        node->disconnectAll();
}

void CAudioNodeChain::visitRunning(const CAudioProcessBase::CVisitor& visit) const
{
    for (const auto& node : nodes)
        visit(*node);
}

}
