// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioSteadyPlan.h"

#include "Audio/Graph/CAudioGraphContext.h"

#include <algorithm>

namespace kor
{

void CAudioSteadyPlan::clear()
{
    isReady = false;
    steps.clear();
    ownScratch = nodeScratch = 0;
}

void CAudioSteadyPlan::build(CAudioGraphContext& graphContext, std::span<CAudioProcessBase* const> nodes,
                             std::span<const std::size_t> portCounts, std::span<const CSource> sources, CSource result,
                             std::size_t channels)
{
    clear();
    context = &graphContext;
    channelCount = channels;
    inputRegisters.clear();
    outputRegisters.clear();
    resultRegisters.clear();

    isRow = result.node == static_cast<int>(nodes.size()) - 1;
    int registers = static_cast<int>(channels);
    std::size_t port = 0;
    for (std::size_t n = 0; n < nodes.size(); ++n)
    {
        const bool isShared = nodes[n]->sharesSteadyOutput();
        CStep step{nodes[n], portCounts[n], inputRegisters.size(), outputRegisters.size(), isShared};
        const auto registerOf = [&](const CSource& source, std::size_t channel)
        {
            if (source.node == CSource::none)
                return nothing;
            if (source.node == CSource::containerInput)
                return static_cast<int>(channel);
            return outputRegisters[steps[static_cast<std::size_t>(source.node)].firstOutput + channel];
        };
        for (std::size_t c = 0; c < channels; ++c)
        {
            for (std::size_t p = 0; p < step.portCount; ++p)
                inputRegisters.push_back(registerOf(sources[port + p], c));
        }
        const bool isPassing = nodes[n]->passesInput() && sources[port].node != CSource::none;
        for (std::size_t c = 0; c < channels; ++c)
        {
            if (isPassing)
                outputRegisters.push_back(registerOf(sources[port], c));
            else
                outputRegisters.push_back(isShared ? registers : registers + static_cast<int>(c));
        }
        if (!isPassing)
            registers += isShared ? 1 : static_cast<int>(channels);

        isRow = isRow && !isShared && step.portCount == 1 && sources[port].node == static_cast<int>(n) - 1;
        port += step.portCount;
        steps.push_back(step);
        nodeScratch = std::max(nodeScratch, nodes[n]->steadyScratch());
    }
    for (std::size_t c = 0; c < channels; ++c)
    {
        const bool isInput = result.node == CSource::containerInput;
        resultRegisters.push_back(
            isInput ? static_cast<int>(c)
                    : outputRegisters[steps[static_cast<std::size_t>(result.node)].firstOutput + c]);
    }

    ownScratch = isRow ? 0 : static_cast<std::size_t>(registers) * stretchSamples;
    context->scratch.reserve(scratch());
    placed = nullptr;
    inputPointers.resize(inputRegisters.size());
    outputPointers.resize(outputRegisters.size());
    isReady = true;
}

bool CAudioSteadyPlan::isValid() const
{
    const auto isAsPlanned = [this](const CStep& step)
    { return step.isShared == step.node->sharesSteadyOutput() && step.node->steadyScratch() <= nodeScratch; };
    return isReady && std::ranges::all_of(steps, isAsPlanned);
}

void CAudioSteadyPlan::run(const CAudioSteadyBlock& block)
{
    if (isRow)
        runRow(block);
    else
        runNet(block);
}

void CAudioSteadyPlan::runRow(const CAudioSteadyBlock& block)
{
    for (std::size_t c = 0; c < channelCount; ++c)
    {
        if (block.inputs[c] != block.outputs[c])
            std::copy_n(block.inputs[c], block.count, block.outputs[c]);
    }
    const std::span<const double* const> inPlace(block.outputs.data(), channelCount);
    for (const CStep& step : steps)
        step.node->runSteady({inPlace, 1, block.outputs, block.count});
}

void CAudioSteadyPlan::place(double* scratchMemory)
{
    placed = scratchMemory;
    const auto at = [scratchMemory](int index) { return scratchMemory + index * stretchSamples; };
    for (std::size_t i = 0; i < inputRegisters.size(); ++i)
        inputPointers[i] = inputRegisters[i] == nothing ? nullptr : at(inputRegisters[i]);
    for (std::size_t i = 0; i < outputRegisters.size(); ++i)
        outputPointers[i] = at(outputRegisters[i]);
}

void CAudioSteadyPlan::runNet(const CAudioSteadyBlock& block)
{
    const CAudioScratch::CHold hold(context->scratch, ownScratch);
    if (hold.memory() != placed)
        place(hold.memory());
    for (int done = 0; done < block.count; done += stretchSamples)
    {
        const int count = std::min(stretchSamples, block.count - done);
        for (std::size_t c = 0; c < channelCount; ++c)
            std::copy_n(block.inputs[c] + done, count, placed + c * stretchSamples);
        for (const CStep& step : steps)
        {
            const std::size_t inputCount = step.portCount * channelCount;
            step.node->runSteady({{inputPointers.data() + step.firstInput, inputCount},
                                  step.portCount,
                                  {outputPointers.data() + step.firstOutput, channelCount},
                                  count});
        }
        for (std::size_t c = 0; c < channelCount; ++c)
            std::copy_n(placed + resultRegisters[c] * stretchSamples, count, block.outputs[c] + done);
    }
}

}
