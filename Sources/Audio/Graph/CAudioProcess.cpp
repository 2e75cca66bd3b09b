// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioProcess.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Graph/CAudioProcessBypassStateDef.h"
#include "Audio/Graph/CAudioProcessDef.h"

#include <algorithm>

namespace kor
{

CAudioProcess::~CAudioProcess() = default;

CError CAudioProcess::init()
{
    KOR_TRY(CAudioProcessBase::init());
    const CAudioProcessDef* container = dynamic_cast<const CAudioProcessDef*>(&definition());
    if (container == nullptr)
        return KOR_FAIL("Audio process def of invalid class supplied.");
    KOR_TRY(wiring.init(*container, name()));

    nodes.resize(wiring.entries().size());
    end = std::make_unique<CAudioInputs>(context().pool);
    for (int i = 0; i < wiring.inputPortCount(); ++i)
        starts.push_back(std::make_unique<CAudioOutput>());
    while (outputCount() < static_cast<std::size_t>(wiring.outputPortCount()))
        addOutput();

    for (const CAudioProcessBypassStateDef* state : container->bypassStates())
    {
        CAudioParamSlot& param = bindParam(state->param());
        CAudioParamSlot* andParam = state->andParam().isEmpty() ? nullptr : &bindParam(state->andParam());
        states.push_back({state, &param, andParam});
    }
    return {};
}

void CAudioProcess::reset()
{
    CAudioProcessBase::reset();
    end->reset();
    for (const auto& node : nodes)
    {
        if (node != nullptr)
            node->reset();
    }
}

void CAudioProcess::disconnectAll()
{
    CAudioProcessBase::disconnectAll();
    for (const auto& node : nodes)
    {
        if (node != nullptr)
            node->disconnectAll();
    }
}

CAudioProcessBase* CAudioProcess::findChild(const CStringBuf& childName) const
{
    const CStringBuf fullName = name() + "." + childName;
    for (const auto& node : nodes)
    {
        if (node != nullptr && node->name() == fullName)
            return node.get();
    }
    return nullptr;
}

bool CAudioProcess::evaluateStates()
{
    bool hasChanged = false;
    for (CBypassState& state : states)
    {
        const double value = state.param->values.getValue(group(), 0);
        const double second = state.andParam != nullptr ? state.andParam->values.getValue(group(), 0) : 0.0;
        const bool isTrue = state.definition->evaluate(value, second);
        hasChanged |= isTrue != state.isTrue;
        state.isTrue = isTrue;
    }
    return hasChanged;
}

void CAudioProcess::update()
{
    isDirty |= evaluateStates();
    if (isDirty)
        rebuild();
}

void CAudioProcess::rebuild()
{
    isDirty = false;
    ++rebuilds;
    if (CError error = wiring.rebuild(
            [this](int id)
            {
                return std::ranges::any_of(states, [id](const CBypassState& state)
                                           { return state.definition->id() == id && state.isTrue; });
            }))
        report(std::move(error));

    makeNodes();
    connectNodes();

    runList.clear();
    for (const std::size_t index : wiring.runOrder())
        runList.push_back(nodes[index].get());
}

void CAudioProcess::makeNodes()
{
    const CArray<CAudioProcessWiring::CEntry>& entries = wiring.entries();
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        if (!entries[i].isLive() || nodes[i] != nullptr)
            continue;
        if (CError error = makeNode(i))
        {
            report(std::move(error));
            wiring.dropEntry(i);
        }
    }
    // Only now, since a node that could not be made may have taken others with it.
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        if (!entries[i].isLive())
            nodes[i].reset();
    }
}

CError CAudioProcess::makeNode(std::size_t index)
{
    CAudioProcessWiring::CEntry& entry = wiring.entries()[index];
    CAudioProcessPlace place;
    place.name = entry.name;
    place.parent = this;
    place.group = group();
    place.element = element();
    place.standsForGroup = standsForGroup();
    KOR_TRY(createProcess(nodes[index], *entry.definition, context(), place));
    return {};
}

CAudioOutput* CAudioProcess::findOutput(const CAudioProcessWiring::CInput& input)
{
    const std::size_t port = static_cast<std::size_t>(input.sourcePort);
    if (input.source == CAudioProcessWiring::containerInput)
        return starts[port].get();
    CAudioProcessBase* node = nodes[static_cast<std::size_t>(input.source)].get();
    return node != nullptr && port < node->outputCount() ? &node->output(port) : nullptr;
}

void CAudioProcess::connectInputs(CAudioInputs& target, const CArray<CAudioProcessWiring::CInput>& wanted)
{
    std::size_t portCount = target.portCount();
    for (const CAudioProcessWiring::CInput& input : wanted)
        portCount = std::max(portCount, static_cast<std::size_t>(input.port) + 1);

    CArray<CAudioOutput*> sources;
    for (std::size_t port = 0; port < portCount; ++port)
    {
        sources.clear();
        for (const CAudioProcessWiring::CInput& input : wanted)
        {
            CAudioOutput* source = static_cast<std::size_t>(input.port) == port ? findOutput(input) : nullptr;
            if (source != nullptr)
                sources.push_back(source);
        }
        target.port(port).setSources(sources);
    }
}

void CAudioProcess::connectNodes()
{
    const CArray<CAudioProcessWiring::CEntry>& entries = wiring.entries();
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        if (nodes[i] != nullptr)
            connectInputs(nodes[i]->inputs(), entries[i].inputs);
    }
    connectInputs(*end, wiring.outputInputs());
}

// The channels that the inner nodes see; what the container puts out is known only when they have run.
void CAudioProcess::describeOutputs()
{
    CAudioChannel list[maxPortChannels];
    for (std::size_t port = 0; port < starts.size(); ++port)
    {
        std::size_t count = 0;
        if (port < inputs().portCount())
        {
            for (const CAudioPortChannel& channel : inputs().port(port).channels())
                list[count++] = channel.channel;
        }
        starts[port]->configure({list, count}, inputs().sampleRate(), inputs().blockCapacity());
    }
}

void CAudioProcess::process()
{
    prepareInputs();
    const bool isTransparent = wiring.outputInputs().empty();
    const std::size_t startCount = std::min(starts.size(), inputs().portCount());
    for (std::size_t port = 0; port < startCount; ++port)
    {
        CAudioOutput& start = *starts[port];
        const auto channels = inputs().port(port).channels();
        for (std::size_t c = 0; c < channels.size(); ++c)
        {
            if (isTransparent)
                start.buffer(c) = channels[c].buffer;
            else
                start.buffer(c) = std::move(channels[c].buffer);
        }
        start.blockLength = inputs().blockLength();
        start.deliver();
    }

    for (CAudioProcessBase* node : runList)
        node->process();

    if (!isTransparent)
    {
        end->refresh();
        end->mix();
    }
    putOut(isTransparent ? inputs() : *end);
    deliverOutputs();
    end->releaseBuffers();
}

void CAudioProcess::putOut(CAudioInputs& result)
{
    for (std::size_t port = 0; port < outputCount(); ++port)
    {
        CAudioChannel list[maxPortChannels];
        std::size_t count = 0;
        const bool isThere = port < result.portCount();
        const auto channels = isThere ? result.port(port).channels() : std::span<CAudioPortChannel>();
        for (const CAudioPortChannel& channel : channels)
            list[count++] = channel.channel;

        CAudioOutput& out = output(port);
        out.configure({list, count}, result.sampleRate(), result.blockCapacity());
        out.blockLength = result.blockLength();
        for (std::size_t c = 0; c < channels.size(); ++c)
            out.buffer(c) = std::move(channels[c].buffer);
    }
}

}
