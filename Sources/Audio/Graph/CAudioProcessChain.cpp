// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioProcessChain.h"

#include "Audio/Graph/CAudioGraphContext.h"

namespace kor
{

CError CAudioProcessChain::init()
{
    KOR_TRY(CAudioProcessBase::init());
    nodes = std::make_unique<CAudioNodeChain>(context().pool);
    return {};
}

CError CAudioProcessChain::makeNode(std::unique_ptr<CAudioProcessBase>& out,
                                    const CAudioProcessDefBase& childDefinition, const CStringBuf& fullName)
{
    CAudioProcessPlace place;
    place.name = fullName;
    place.parent = this;
    place.group = group();
    place.element = element();
    place.standsForGroup = standsForGroup();
    KOR_TRY(createProcess(out, childDefinition, context(), place));
    return {};
}

void CAudioProcessChain::reset()
{
    CAudioProcessBase::reset();
    nodes->reset();
}

void CAudioProcessChain::disconnectAll()
{
    CAudioProcessBase::disconnectAll();
    nodes->disconnectAll();
}

void CAudioProcessChain::describeOutputs()
{
    CAudioChannel list[maxPortChannels];
    std::size_t count = 0;
    for (const CAudioPortChannel& channel : inputs().port(0).channels())
        list[count++] = channel.channel;
    nodes->configure({list, count}, inputs().sampleRate(), inputs().blockCapacity());
}

void CAudioProcessChain::process()
{
    if (isSteady())
    {
        processSteadily();
        return;
    }
    prepareInputs();
    const auto channels = inputs().port(0).channels();
    for (std::size_t c = 0; c < channels.size(); ++c)
        nodes->buffer(c) = std::move(channels[c].buffer);
    nodes->run(inputs().blockLength());
    takeOutputs(nodes->result());
    deliverOutputs();
    nodes->result().releaseBuffers();
}

bool CAudioProcessChain::checkSteady()
{
    return isStraightThrough() && nodes->isSteady();
}

void CAudioProcessChain::runSteady(const CAudioSteadyBlock& block)
{
    nodes->runSteady(block);
}

std::size_t CAudioProcessChain::steadyScratch() const
{
    return nodes->steadyScratch();
}

void CAudioProcessChain::visitRunning(const CVisitor& visit) const
{
    nodes->visitRunning(visit);
}

}
