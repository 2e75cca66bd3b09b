// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModTap.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Parameters/CAudioEnv.h"

#include <algorithm>

namespace kor
{

void CModTap::reset()
{
    CAudioProcessTerminalBase::reset();
    sliceTime = -1.0;
}

void CModTap::update()
{
    CAudioProcessTerminalBase::update();
    modules.clear();
    for (const CAudioPortChannel& entry : inputs().port(0).channels())
        modules.push_back(findModule(entry.channel.number));
    pointers.reserve(modules.size() * inputs().portCount());
}

void CModTap::process()
{
    prepareInputs();
    const auto channels = inputs().port(0).channels();
    if (!channels.empty() && inputs().blockLength() > 0)
    {
        pointers.clear();
        for (const CAudioPortChannel& entry : channels)
        {
            pointers.push_back(entry.buffer.samples());
            for (std::size_t port = 1; port < inputs().portCount(); ++port)
            {
                const CAudioPortChannel* other = inputs().port(port).find(entry.channel.number);
                pointers.push_back(other != nullptr ? other->buffer.samples() : nullptr);
            }
        }
        show(pointers, inputs().portCount(), inputs().blockLength());
    }
    for (std::size_t c = 0; c < channels.size(); ++c)
        output().buffer(c) = std::move(channels[c].buffer);
    deliverOutputs();
}

void CModTap::runSteady(const CAudioSteadyBlock& block)
{
    show(block.inputs, block.portCount, block.count);
    for (std::size_t c = 0; c < block.outputs.size(); ++c)
    {
        const double* in = block.inputs[c * block.portCount];
        if (in != block.outputs[c])
            std::copy_n(in, block.count, block.outputs[c]);
    }
}

void CModTap::show(std::span<const double* const> from, std::size_t portCount, int count)
{
    const double now = context().env.time;
    if (now != sliceTime)
    {
        sliceTime = now;
        sliceSamples = 0;
    }
    listen({modules, from, portCount, count, now + sliceSamples / inputs().sampleRate()});
    sliceSamples += count;
}

}
