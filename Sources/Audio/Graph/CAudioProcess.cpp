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
        states.push_back({state, &param, andParam, state->isForViz()});
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

bool CAudioProcess::isTrueNow(const CBypassState& state) const
{
    const double value = state.param->values.getValue(group(), 0);
    const double second = state.andParam != nullptr ? state.andParam->values.getValue(group(), 0) : 0.0;
    return state.definition->evaluate(value, second);
}

bool CAudioProcess::evaluateStates()
{
    bool hasChanged = false;
    hasTurned = false;
    isVizWaiting = false;
    for (CBypassState& state : states)
    {
        const bool isTrue = isTrueNow(state);
        if (isTrue == state.isTrue)
            continue;
        if (state.definition->isForViz() && !context().admitVizChange())
        {
            isVizWaiting = true;
            context().noteVizWaiting();
            continue;
        }
        hasChanged = true;
        state.isTrue = isTrue;
    }
    return hasChanged;
}

// A change for the display that no slice has had room for leaves the container on the steady path until one has.
bool CAudioProcess::needsUpdate() const
{
    if (isLingering || hasTurned)
        return true;
    const bool mustWait = isVizWaiting && !context().canAdmitVizChange();
    if (mustWait)
        context().noteVizWaiting();
    return isVizWaiting && !mustWait;
}

// A container follows no parameters but those of its bypass states.
bool CAudioProcess::settlesChanges()
{
    takeParamChanges();
    for (const auto& slot : paramSlots)
        slot->changeMask = 0;
    for (const CBypassState& state : states)
    {
        if (isTrueNow(state) != state.isTrue)
            (state.definition->isForViz() ? isVizWaiting : hasTurned) = true;
    }
    return !needsUpdate();
}

void CAudioProcess::update()
{
    isDirty |= evaluateStates();
    isDirty |= isLingering;
    if (change.any())
        steadyPlan.clear();
    if (isDirty)
        rebuild();
}

bool CAudioProcess::isBypassed(int id) const
{
    return std::ranges::any_of(states, [id](const CBypassState& state)
                               { return state.definition->id() == id && state.isTrue; });
}

bool CAudioProcess::lingers(std::size_t index)
{
    const bool isLate = nodes[index] != nullptr && !nodes[index]->mayLeave();
    isLingering |= isLate;
    return isLate;
}

void CAudioProcess::rebuild()
{
    isDirty = false;
    ++rebuilds;
    steadyPlan.clear();
    isLingering = false;
    if (CError error = wiring.rebuild([this](int id) { return isBypassed(id); },
                                      [this](std::size_t index) { return lingers(index); }))
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
        if (!entries[i].isLive())
            continue;
        if (nodes[i] != nullptr)
        {
            if (!isBypassed(entries[i].definition->traits().bypassStateId))
                nodes[i]->stayOn();
            continue;
        }
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
    place.joinsRunning = isConfigured;
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
    if (isSteady())
    {
        processSteadily();
        return;
    }
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
    takeOutputs(isTransparent ? inputs() : *end);
    deliverOutputs();
    end->releaseBuffers();
}

bool CAudioProcess::checkSteady()
{
    if (!isStraightThrough())
        return false;
    for (CAudioProcessBase* node : runList)
    {
        if (!node->isSteady())
            return false;
    }
    const bool isTransparent = wiring.outputInputs().empty();
    if (isTransparent && runList.empty())
        return true;
    return (isTransparent || end->isSettled()) && (steadyPlan.isValid() || planSteadyPath());
}

// Every link leads from one node's output 0 to another's port, with the same channels everywhere.
bool CAudioProcess::planSteadyPath()
{
    using CSource = CAudioSteadyPlan::CSource;
    const auto isSameChannel = [](const CAudioPortChannel& a, const CAudioPortChannel& b)
    { return a.channel.number == b.channel.number; };
    const auto channels = inputs().port(0).channels();

    planPorts.clear();
    planSources.clear();
    const auto addPort = [&](const CAudioPort& port)
    {
        if (!port.isConnected())
        {
            planSources.push_back({CSource::none});
            return true;
        }
        if (port.sources().size() != 1 || !std::ranges::equal(port.channels(), channels, isSameChannel))
            return false;
        const CAudioOutput* source = port.sources().front()->source();
        if (source == starts.front().get())
        {
            planSources.push_back({CSource::containerInput});
            return true;
        }
        const auto node = std::ranges::find_if(runList, [source](auto* entry) { return &entry->output() == source; });
        planSources.push_back({static_cast<int>(node - runList.begin())});
        return node != runList.end();
    };

    for (CAudioProcessBase* node : runList)
    {
        const CAudioInputs& nodeInputs = node->inputs();
        planPorts.push_back(nodeInputs.portCount());
        for (std::size_t port = 0; port < nodeInputs.portCount(); ++port)
        {
            if (!addPort(nodeInputs.port(port)))
                return false;
        }
    }
    CSource result{CSource::containerInput}; // of a container whose nodes only listen
    if (!wiring.outputInputs().empty())
    {
        if (!addPort(end->port(0)))
            return false;
        result = planSources.back();
    }
    steadyPlan.build(context(), runList, planPorts, planSources, result, channels.size());
    return true;
}

void CAudioProcess::runSteady(const CAudioSteadyBlock& block)
{
    if (steadyPlan.isBuilt())
    {
        steadyPlan.run(block);
        return;
    }
    for (std::size_t c = 0; c < block.outputs.size(); ++c)
    {
        if (block.inputs[c] != block.outputs[c])
            std::copy_n(block.inputs[c], block.count, block.outputs[c]);
    }
}

std::size_t CAudioProcess::steadyScratch() const
{
    return steadyPlan.scratch();
}

void CAudioProcess::visitRunning(const CVisitor& visit) const
{
    for (CAudioProcessBase* node : runList)
        visit(*node);
}

}
