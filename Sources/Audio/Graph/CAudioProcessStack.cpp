// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioProcessStack.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Graph/CAudioProcessDefBase.h"

#include <algorithm>

namespace kor
{

namespace
{

// Far above any sensible count; keeps a parameter without a range from filling the memory.
constexpr int maxLevels = 256;

}

CError CAudioProcessStack::init()
{
    KOR_TRY(CAudioProcessBase::init());
    const CStringBuf& param = definition().traits().stackParam;
    if (!param.isEmpty())
        countSlot = &bindParam(param);
    return {};
}

void CAudioProcessStack::reset()
{
    CAudioProcessBase::reset();
    for (const auto& chain : chains)
        chain->nodes.reset();
}

void CAudioProcessStack::disconnectAll()
{
    CAudioProcessBase::disconnectAll();
    for (const auto& chain : chains)
        chain->nodes.disconnectAll();
}

int CAudioProcessStack::levelCount(int group) const
{
    return countSlot != nullptr ? countSlot->count(group, maxLevels) : 1;
}

void CAudioProcessStack::update()
{
    if (change.any())
        syncChains();
    for (const auto& chain : chains)
        syncLevels(*chain);
}

void CAudioProcessStack::syncChains()
{
    const auto channels = inputs().port(0).channels();
    const bool isByChannel = definition().traits().isChannelStack;
    const auto carries = [isByChannel](const CChain& chain, const CAudioChannel& channel)
    { return chain.group == channel.group && (!isByChannel || chain.channel == channel.number); };

    std::erase_if(chains,
                  [&](const auto& chain)
                  {
                      return std::ranges::none_of(channels, [&](const CAudioPortChannel& entry)
                                                  { return carries(*chain, entry.channel); });
                  });
    for (int group = 0; group < maxPortChannels; ++group)
    {
        for (const CAudioPortChannel& entry : channels)
        {
            const auto isCarrier = [&](const auto& chain) { return carries(*chain, entry.channel); };
            if (entry.channel.group != group || std::ranges::any_of(chains, isCarrier))
                continue;
            auto chain = std::make_unique<CChain>(context().pool);
            chain->group = group;
            chain->channel = isByChannel ? entry.channel.number : -1;
            chains.push_back(std::move(chain));
        }
    }
    for (const auto& chain : chains)
    {
        chain->inputCount = 0;
        for (std::size_t c = 0; c < channels.size(); ++c)
        {
            if (carries(*chain, channels[c].channel))
                chain->inputs[chain->inputCount++] = c;
        }
    }
}

void CAudioProcessStack::syncLevels(CChain& chain)
{
    const std::size_t wanted = static_cast<std::size_t>(levelCount(chain.group));
    while (chain.nodes.size() > wanted)
        chain.nodes.remove(chain.nodes.size() - 1);
    while (chain.nodes.size() < wanted)
    {
        CAudioProcessPlace place;
        place.name = name();
        place.parent = this;
        place.group = chain.group;
        place.element = static_cast<int>(chain.nodes.size());
        place.standsForGroup = true;
        place.isInStack = true;
        place.joinsRunning = isConfigured;
        std::unique_ptr<CAudioProcessBase> node;
        if (CError error = createProcess(node, definition(), context(), place))
        {
            report(std::move(error));
            break;
        }
        chain.nodes.append(std::move(node));
    }
}

void CAudioProcessStack::describeOutputs()
{
    const auto channels = inputs().port(0).channels();
    CAudioChannel list[maxPortChannels];
    for (const auto& chain : chains)
    {
        for (std::size_t i = 0; i < chain->inputCount; ++i)
            list[i] = channels[chain->inputs[i]].channel;
        chain->nodes.configure({list, chain->inputCount}, inputs().sampleRate(), inputs().blockCapacity());
    }
}

void CAudioProcessStack::process()
{
    if (isSteady())
    {
        processSteadily();
        return;
    }
    prepareInputs();
    const auto channels = inputs().port(0).channels();
    for (const auto& chain : chains)
    {
        for (std::size_t i = 0; i < chain->inputCount; ++i)
            chain->nodes.buffer(i) = std::move(channels[chain->inputs[i]].buffer);
        chain->nodes.run(inputs().blockLength());
    }
    collectOutputs();
    deliverOutputs();
}

// What comes out of the chains, in rising channel number.
void CAudioProcessStack::collectOutputs()
{
    CAudioPortChannel* byNumber[maxPortChannels] = {};
    CAudioInputs* anyResult = nullptr;
    for (const auto& chain : chains)
    {
        CAudioInputs& result = chain->nodes.result();
        anyResult = &result;
        for (CAudioPortChannel& entry : result.port(0).channels())
            byNumber[entry.channel.number] = &entry;
    }

    CAudioChannel list[maxPortChannels];
    std::size_t count = 0;
    for (const CAudioPortChannel* entry : byNumber)
    {
        if (entry != nullptr)
            list[count++] = entry->channel;
    }
    CAudioInputs& form = anyResult != nullptr ? *anyResult : inputs();
    output().configure({list, count}, form.sampleRate(), form.blockCapacity());
    output().blockLength = form.blockLength();
    count = 0;
    for (CAudioPortChannel* entry : byNumber)
    {
        if (entry != nullptr)
            output().buffer(count++) = std::move(entry->buffer);
    }
}

bool CAudioProcessStack::checkSteady()
{
    return isStraightThrough() &&
           std::ranges::all_of(chains, [](const auto& chain) { return chain->nodes.isSteady(); });
}

void CAudioProcessStack::runSteady(const CAudioSteadyBlock& block)
{
    const double* in[maxPortChannels];
    double* out[maxPortChannels];
    for (const auto& chain : chains)
    {
        for (std::size_t i = 0; i < chain->inputCount; ++i)
        {
            in[i] = block.inputs[chain->inputs[i]];
            out[i] = block.outputs[chain->inputs[i]];
        }
        chain->nodes.runSteady({{in, chain->inputCount}, 1, {out, chain->inputCount}, block.count});
    }
}

std::size_t CAudioProcessStack::steadyScratch() const
{
    std::size_t most = 0;
    for (const auto& chain : chains)
        most = std::max(most, chain->nodes.steadyScratch());
    return most;
}

void CAudioProcessStack::visitRunning(const CVisitor& visit) const
{
    for (const auto& chain : chains)
        chain->nodes.visitRunning(visit);
}

}
