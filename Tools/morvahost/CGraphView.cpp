// SPDX-License-Identifier: GPL-3.0-or-later
#include "CGraphView.h"

#include "Audio/Graph/CAudioProcessBase.h"
#include "Audio/Graph/CAudioProcessDefBase.h"
#include "Audio/Graph/CDSPModDelay.h"

#include <algorithm>

namespace kor
{

namespace
{

constexpr std::string_view namePrefix = "mod";

std::string shortName(const std::string& path)
{
    std::string name = path.substr(path.rfind('.') + 1);
    if (name.size() > namePrefix.size() && name.compare(0, namePrefix.size(), namePrefix) == 0)
        name.erase(0, namePrefix.size());
    return name;
}

double latencyOf(std::span<const CAudioChannel> channels)
{
    int latency = 0;
    for (const CAudioChannel& channel : channels)
        latency = std::max(latency, channel.latency);
    return latency;
}

int delayOf(const CAudioFeed& feed)
{
    int samples = 0;
    for (const std::unique_ptr<CDSPModDelay>& delay : feed.delays)
        if (delay != nullptr)
            samples = std::max(samples, delay->delay());
    return samples;
}

// Fills a node in, all but what depends on its neighbours.
CGraphNode nodeOf(CAudioProcessBase& process, double hostRate)
{
    CGraphNode node;
    node.path = process.name().toUtf8();
    node.name = shortName(node.path);
    node.type = process.definition().tag().toUtf8();
    node.group = process.group();
    node.element = process.element();
    const CAudioOutput& output = process.output();
    node.sampleRate = output.sampleRate();
    node.channelCount = static_cast<int>(output.channels().size());
    for (const CAudioChannel& channel : output.channels())
        node.groups.push_back(channel.group);
    std::sort(node.groups.begin(), node.groups.end());
    node.groups.erase(std::unique(node.groups.begin(), node.groups.end()), node.groups.end());
    if (node.channelCount > 0)
        node.addedLatency = latencyOf(output.channels()) * hostRate / output.sampleRate() -
                            process.inputs().latency() * hostRate / process.inputs().sampleRate();
    return node;
}

// What runs inside a container, and how it is wired.
void fill(CGraphNode& container, CAudioProcessBase& process, double hostRate)
{
    std::vector<CAudioProcessBase*> inner;
    process.visitRunning([&](CAudioProcessBase& node) { inner.push_back(&node); });
    std::vector<std::size_t> taken(inner.size(), 0);    // links to neighbours
    for (CAudioProcessBase* const one : inner)
    {
        CGraphNode node = nodeOf(*one, hostRate);
        CAudioInputs& inputs = one->inputs();
        for (std::size_t p = 0; p < inputs.portCount(); ++p)
        {
            CGraphPort port;
            port.index = static_cast<int>(p);
            for (const std::unique_ptr<CAudioFeed>& feed : inputs.port(p).sources())
            {
                CGraphSource source;
                source.delay = delayOf(*feed) * hostRate / inputs.sampleRate();
                const CAudioProcessBase* const from = feed->source() != nullptr ? feed->source()->node() : nullptr;
                const auto found = std::find(inner.begin(), inner.end(), from);
                if (found != inner.end())
                {
                    source.node = static_cast<int>(found - inner.begin());
                    ++taken[static_cast<std::size_t>(source.node)];
                }
                port.sources.push_back(source);
            }
            if (!port.sources.empty())
                node.ports.push_back(std::move(port));
        }
        fill(node, *one, hostRate);
        container.nodes.push_back(std::move(node));
    }

    const CAudioProcessTraits& traits = process.definition().traits();
    if (traits.isStacked && !inner.empty() && &inner[0]->definition() == &process.definition())
        container.copies = traits.stackParam.isEmpty() ? CGraphCopies::perGroup : CGraphCopies::perBand;
    for (std::size_t i = 0; i < inner.size(); ++i)
    {
        CGraphNode& node = container.nodes[i];
        std::size_t consumers = 0;
        for (std::size_t o = 0; o < inner[i]->outputCount(); ++o)
            consumers += inner[i]->output(o).consumers().size();
        // Whoever takes it and is no neighbour is the container's output.
        node.feedsOutput = consumers > taken[i];
        if (container.copies != CGraphCopies::none)
            node.label = container.copies == CGraphCopies::perGroup ? "group " + std::to_string(node.group)
                                                                    : "band " + std::to_string(node.element);
    }
}

}

int CGraphNode::leafCount() const
{
    int count = nodes.empty() ? 1 : 0;
    for (const CGraphNode& node : nodes)
        count += node.leafCount();
    return count;
}

const CGraphNode& CGraphNode::innermost() const
{
    const CGraphNode* node = this;
    while (node->nodes.size() == 1 && node->copies != CGraphCopies::perBand)
        node = &node->nodes[0];
    return *node;
}

CGraphNode viewOfGraph(CAudioProcessBase& root, double hostRate)
{
    CGraphNode view = nodeOf(root, hostRate);
    fill(view, root, hostRate);
    return view;
}

}
