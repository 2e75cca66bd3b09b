// SPDX-License-Identifier: GPL-3.0-or-later

// The block of a terminal: which module reads and writes which buffer.

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Graph/CAudioProcessDefBase.h"
#include "Audio/Graph/CAudioProcessTerminalBase.h"

#include <algorithm>

namespace kor
{

void CAudioProcessTerminalBase::process()
{
    prepareInputs();
    gatherInputs();
    if (!slots.empty() && inputs().blockLength() > 0)
    {
        if (isWhole())
            processWhole();
        else
            processSlots();
    }
    deliverOutputs();
}

void CAudioProcessTerminalBase::processSteady(std::span<const CAudioModuleRun> steadyRuns, int count)
{
    for (const CAudioModuleRun& run : steadyRuns)
        run.module->processPorts(run.inputs, run.output, count);
}

void CAudioProcessTerminalBase::passSteadily(const CAudioSteadyBlock& block, std::size_t channel, int port)
{
    const std::size_t index = static_cast<std::size_t>(port);
    const double* source = index < block.portCount ? block.inputs[channel * block.portCount + index] : nullptr;
    double* result = block.outputs[channel];
    if (source == nullptr)
        std::fill_n(result, block.count, 0.0);
    else if (source != result)
        std::copy_n(source, block.count, result);
}

void CAudioProcessTerminalBase::runSteady(const CAudioSteadyBlock& block)
{
    const std::size_t channels = block.outputs.size();
    if (isWhole())
    {
        CAudioModule& module = slots.front().newest();
        const int port = module.passThroughPort();
        for (std::size_t c = 0; port >= 0 && c < channels; ++c)
            passSteadily(block, c, port);
        if (port >= 0)
            return;
        wholeIn.clear();
        for (std::size_t c = 0; c < channels; ++c)
            wholeIn.push_back(block.inputs[c * block.portCount]);
        module.processChannels(wholeIn, block.outputs, block.count);
        return;
    }

    runs.clear();
    for (std::size_t c = 0; c < channels; ++c)
    {
        CAudioModule& module = slots[c].newest();
        if (const int port = module.passThroughPort(); port >= 0)
            passSteadily(block, c, port);
        else
            runs.push_back({&module, block.inputs.subspan(c * block.portCount, block.portCount), block.outputs[c]});
    }
    if (!runs.empty())
        processSteady(runs, block.count);
}

CAudioBufferRef CAudioProcessTerminalBase::takeBuffer()
{
    return context().pool.take(std::max(inputs().blockCapacity(), inputs().blockLength()));
}

void CAudioProcessTerminalBase::gatherInputs()
{
    inputPointers.clear();
    pointersPerChannel = inputs().portCount();
    for (const CAudioPortChannel& entry : inputs().port(0).channels())
    {
        inputPointers.push_back(entry.buffer.samples());
        for (std::size_t port = 1; port < pointersPerChannel; ++port)
        {
            const CAudioPortChannel* other = inputs().port(port).find(entry.channel.number);
            inputPointers.push_back(other != nullptr ? other->buffer.samples() : nullptr);
        }
    }
}

std::span<const double* const> CAudioProcessTerminalBase::inputsOf(std::size_t channel) const noexcept
{
    return {inputPointers.data() + channel * pointersPerChannel, pointersPerChannel};
}

// The buffer of a port as it stands; silence where the port has no such channel.
CAudioBufferRef CAudioProcessTerminalBase::passedThrough(std::size_t channel, int port)
{
    const CAudioPortChannel& entry = inputs().port(0).channels()[channel];
    const CAudioPortChannel* source = &entry;
    if (port > 0)
    {
        const std::size_t index = static_cast<std::size_t>(port);
        source = index < inputs().portCount() ? inputs().port(index).find(entry.channel.number) : nullptr;
    }
    if (source != nullptr)
        return source->buffer;
    CAudioBufferRef silence = takeBuffer();
    std::fill_n(silence.samples(), inputs().blockLength(), 0.0);
    return silence;
}

void CAudioProcessTerminalBase::mixInto(CAudioBufferRef& sounding, CAudioBufferRef& fresh, CAudioModuleFade& fade)
{
    CAudioBufferRef result;
    if (sounding.useCount() == 1)
        result = sounding;
    else if (fresh.useCount() == 1)
        result = fresh;
    else
        result = takeBuffer();
    fade.process(sounding.samples(), fresh.samples(), result.samples(), inputs().blockLength());
    fresh.release();
    sounding = std::move(result);
}

void CAudioProcessTerminalBase::processSlots()
{
    const int count = inputs().blockLength();
    const auto channels = inputs().port(0).channels();

    // Fading channels first, and the results of all are decided before any input is given up: channels may share an
    // input buffer, which then nobody may write to.
    for (std::size_t c = 0; c < slots.size(); ++c)
    {
        if (slots[c].fadeCount() > 0)
            output().buffer(c) = processFading(slots[c], c);
        else if (const int port = slots[c].newest().passThroughPort(); port >= 0)
            output().buffer(c) = passedThrough(c, port);
    }
    runs.clear();
    for (std::size_t c = 0; c < slots.size(); ++c)
    {
        if (slots[c].fadeCount() > 0 || slots[c].newest().passThroughPort() >= 0)
            continue;
        CAudioBufferRef& input = channels[c].buffer;
        CAudioBufferRef& result = output().buffer(c);
        if (input.useCount() == 1)
        {
            result = std::move(input);
        }
        else
        {
            result = takeBuffer();
            held.push_back(std::move(input));
        }
        runs.push_back({&slots[c].newest(), inputsOf(c), result.samples()});
    }
    if (!runs.empty())
        processSteady(runs, count);
    held.clear();

    for (CAudioModuleSlot& slot : slots)
        dropFaded(slot);
}

CAudioBufferRef CAudioProcessTerminalBase::processFading(CAudioModuleSlot& slot, std::size_t channel)
{
    const auto result = [this, channel](CAudioModule& module)
    {
        if (const int port = module.passThroughPort(); port >= 0)
            return passedThrough(channel, port);
        CAudioBufferRef out = takeBuffer();
        module.processPorts(inputsOf(channel), out.samples(), inputs().blockLength());
        return out;
    };

    CAudioBufferRef sounding = result(slot.module(0));
    for (int index = 1; index < slot.moduleCount(); ++index)
    {
        CAudioBufferRef fresh = result(slot.module(index));
        mixInto(sounding, fresh, slot.fade(index));
    }
    return sounding;
}

void CAudioProcessTerminalBase::processWhole()
{
    CAudioModuleSlot& slot = slots.front();
    const std::size_t channelCount = inputs().port(0).channels().size();
    runWhole(slot.module(0), wholeResults, slot.fadeCount() == 0);
    for (int index = 1; index < slot.moduleCount(); ++index)
    {
        runWhole(slot.module(index), wholeFresh, false);
        const CAudioModuleFade fade = slot.fade(index);
        for (std::size_t c = 0; c < channelCount; ++c)
        {
            slot.fade(index) = fade; // all channels go through the same stretch of the fade
            mixInto(wholeResults[c], wholeFresh[c], slot.fade(index));
        }
    }
    for (std::size_t c = 0; c < channelCount; ++c)
        output().buffer(c) = std::move(wholeResults[c]);
    held.clear();
    dropFaded(slot);
}

void CAudioProcessTerminalBase::runWhole(CAudioModule& module, CArray<CAudioBufferRef>& results, bool mayWriteInPlace)
{
    const auto channels = inputs().port(0).channels();
    results.resize(channels.size());
    if (const int port = module.passThroughPort(); port >= 0)
    {
        for (std::size_t c = 0; c < channels.size(); ++c)
            results[c] = passedThrough(c, port);
        return;
    }

    wholeOut.clear();
    wholeIn.clear();
    for (std::size_t c = 0; c < channels.size(); ++c)
    {
        CAudioBufferRef& input = channels[c].buffer;
        wholeIn.push_back(input.samples());
        if (module.sharesOutput() && c > 0)
            results[c] = results[0];
        else if (mayWriteInPlace && !module.sharesOutput() && input.useCount() == 1)
            results[c] = input;
        else
            results[c] = takeBuffer();
        wholeOut.push_back(results[c].samples());
    }
    module.processChannels(wholeIn, wholeOut, inputs().blockLength());
}

}
