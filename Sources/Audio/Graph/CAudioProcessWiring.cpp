// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioProcessWiring.h"

#include "Audio/Graph/CAudioProcessDef.h"
#include "Audio/Graph/CAudioProcessLinkDef.h"

#include <algorithm>

namespace kor
{

CError CAudioProcessWiring::init(const CAudioProcessDef& definition, const CStringBuf& containerName)
{
    context = containerName;
    isAutoLinks = definition.isAutoLinks();
    CArray<CStringBuf> names; // without the container's, as links write them
    for (const CAudioProcessDefBase* child : definition.processDefs())
    {
        if (child->traits().isPrototype)
            continue;
        // A repeated name has come out of the tree with an index behind "#"; no link and no preset could mean it.
        const CStringBuf indexedName = child->name();
        const CStringBuf name = indexedName.substr(0, indexedName.findChar(u'#'));
        if (std::ranges::find(names, name) != names.end())
            return KOR_FAIL("Duplicate audio process name '%1'.", name);
        names.push_back(name);
        CEntry entry;
        entry.name = containerName + "." + name;
        entry.definition = child;
        entry.isJunction = child->isJunction();
        list.push_back(std::move(entry));
    }

    const auto find = [&names](const CStringBuf& name)
    {
        const auto found = std::ranges::find(names, name);
        return found == names.end() ? missing : static_cast<int>(found - names.begin());
    };
    for (const CAudioProcessLinkDef* link : definition.links())
    {
        const CAudioProcessLinkDef::CEnd& source = link->source();
        const CAudioProcessLinkDef::CEnd& target = link->target();
        links.push_back({link, source.isContainer() ? containerInput : find(source.node),
                         target.isContainer() ? containerOutput : find(target.node)});
        if (source.isContainer())
            inputPorts = std::max(inputPorts, source.port + 1);
        if (target.isContainer())
            outputPorts = std::max(outputPorts, target.port + 1);
    }
    return {};
}

CArray<CAudioProcessWiring::CInput>& CAudioProcessWiring::inputsOf(int target)
{
    return target == containerOutput ? end : list[static_cast<std::size_t>(target)].inputs;
}

void CAudioProcessWiring::addInput(int target, const CInput& input)
{
    CArray<CInput>& inputs = inputsOf(target);
    if (std::ranges::find(inputs, input) == inputs.end())
        inputs.push_back(input);
}

void CAudioProcessWiring::addFrom(int source, int sourcePort, int target, int port)
{
    if (target >= 0 && list[static_cast<std::size_t>(target)].isJunction)
    {
        addInput(target, {source, sourcePort, port});
        return;
    }
    CArray<CVisit> visited;
    addPast(source, sourcePort, target, port, visited);
}

// Follows junctions to the nodes behind them, each junction once.
void CAudioProcessWiring::addPast(int source, int sourcePort, int target, int port, CArray<CVisit>& visited)
{
    if (source == containerInput || !list[static_cast<std::size_t>(source)].isJunction)
    {
        addInput(target, {source, sourcePort, port});
        return;
    }
    for (const CVisit& visit : visited)
    {
        if (visit.junction == source && visit.port == sourcePort)
        {
            hasJunctionRing |= visit.isOpen;
            return;
        }
    }
    const std::size_t own = visited.size();
    visited.push_back({source, sourcePort, true});
    for (const CInput& input : list[static_cast<std::size_t>(source)].inputs)
    {
        if (input.port == sourcePort)
            addPast(input.source, input.sourcePort, target, port, visited);
    }
    visited[own].isOpen = false;
}

void CAudioProcessWiring::findChain(const CStateTest& isBypassed, const CEntryTest& lingers)
{
    chain.clear();
    for (std::size_t i = 0; isAutoLinks && i < list.size(); ++i)
    {
        const CAudioProcessTraits& traits = list[i].definition->traits();
        const bool isOut = traits.bypassStateId >= 0 && isBypassed(traits.bypassStateId) && !lingers(i);
        if (!traits.isOutOfOrder && !isOut)
            chain.push_back(i);
    }
}

// Each entry of the chain takes its predecessor's output, the first one the container's input; what is left at the end
// is the container's output.
void CAudioProcessWiring::addChain(bool toJunctions)
{
    int previous = containerInput;
    for (const std::size_t entry : chain)
    {
        const int index = static_cast<int>(entry);
        if (list[entry].isJunction == toJunctions)
            addFrom(previous, 0, index, 0);
        previous = index;
    }
    if (!toJunctions && !chain.empty())
        addFrom(previous, 0, containerOutput, 0);
}

void CAudioProcessWiring::addLinks(const CStateTest& isBypassed, bool toJunctions)
{
    for (const CLink& link : links)
    {
        // Nothing selects another set than the one that is always active.
        const bool isPresent = link.definition->stateId() == CAudioProcessLinkDef::alwaysActive &&
                               std::ranges::none_of(link.definition->bypassStateIds(), isBypassed);
        const bool isStraight = link.source == containerInput && link.target == containerOutput;
        const auto isMissing = [this](int entry)
        { return entry == missing || (entry >= 0 && list[static_cast<std::size_t>(entry)].isAbsent); };
        if (!isPresent || isStraight || isMissing(link.source) || isMissing(link.target))
            continue;
        const bool isTargetJunction = link.target >= 0 && list[static_cast<std::size_t>(link.target)].isJunction;
        if (isTargetJunction == toJunctions)
            addFrom(link.source, link.definition->source().port, link.target, link.definition->target().port);
    }
}

CError CAudioProcessWiring::rebuild(const CStateTest& isBypassed, const CEntryTest& lingers)
{
    hasJunctionRing = false;
    end.clear();
    for (CEntry& entry : list)
    {
        entry.inputs.clear();
        entry.isAbsent = false;
    }

    findChain(isBypassed, lingers);
    // Junctions first, so that their inputs are complete before anything is linked past them.
    addChain(true);
    addLinks(isBypassed, true);
    addChain(false);
    addLinks(isBypassed, false);

    dropDeadSources();
    if (sort() && !hasJunctionRing)
        return {};

    // Goes on without the ring and what depends on it.
    CArray<bool> isPlaced(list.size(), false);
    for (const std::size_t index : order)
        isPlaced[index] = true;
    for (std::size_t i = 0; i < list.size(); ++i)
        list[i].isAbsent |= list[i].isLive() && !isPlaced[i];
    dropDeadSources();
    sort();
    return KOR_FAIL("process seq err");
}

void CAudioProcessWiring::dropEntry(std::size_t index)
{
    list[index].isAbsent = true;
    dropDeadSources();
    sort();
}

// A node without inputs does not live, and what only it fed loses that input in turn.
void CAudioProcessWiring::dropDeadSources()
{
    const auto isDead = [this](const CInput& input)
    { return input.source != containerInput && !list[static_cast<std::size_t>(input.source)].isLive(); };

    std::erase_if(end, isDead);
    for (bool hasDropped = true; hasDropped;)
    {
        hasDropped = false;
        for (CEntry& entry : list)
        {
            if (!entry.isJunction)
                hasDropped |= std::erase_if(entry.inputs, isDead) > 0;
        }
        std::erase_if(end, isDead);
    }
}

bool CAudioProcessWiring::sort()
{
    order.clear();
    CArray<bool> isPlaced(list.size(), false);
    const auto isReady = [&isPlaced](const CInput& input)
    { return input.source == containerInput || isPlaced[static_cast<std::size_t>(input.source)]; };

    std::size_t live = 0;
    for (const CEntry& entry : list)
        live += entry.isLive() ? 1 : 0;
    for (bool hasPlaced = true; hasPlaced && order.size() < live;)
    {
        hasPlaced = false;
        for (std::size_t i = 0; i < list.size(); ++i)
        {
            if (list[i].isLive() && !isPlaced[i] && std::ranges::all_of(list[i].inputs, isReady))
            {
                isPlaced[i] = true;
                order.push_back(i);
                hasPlaced = true;
            }
        }
    }
    return order.size() == live;
}

}
