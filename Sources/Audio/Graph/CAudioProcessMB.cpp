// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioProcessMB.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Graph/MultibandParts.h"

namespace kor
{

namespace
{

// Far above any sensible count; keeps a parameter without a range from filling the memory.
constexpr int maxBands = 64;

}

CError CAudioProcessMB::init()
{
    KOR_TRY(CAudioProcessBase::init());
    const CAudioProcessTraits& traits = definition().traits();
    if (traits.multibandCountParam.isEmpty())
        return KOR_FAIL("No 'multiband-count-param' attribute defined.");
    if (traits.multibandFreqParam.isEmpty())
        return KOR_FAIL("No 'multiband-freq-param' attribute defined.");
    KOR_TRY(findPart(lpDefinition, "multiband-lp", traits.multibandLp));
    KOR_TRY(findPart(hpDefinition, "multiband-hp", traits.multibandHp));
    if (!traits.multibandPre.isEmpty())
        KOR_TRY(findPart(preDefinition, "multiband-pre", traits.multibandPre));
    countSlot = &bindParam(traits.multibandCountParam);
    bindParam(traits.multibandFreqParam); // there from the start, not only once a second band comes
    end = std::make_unique<CAudioInputs>(context().pool);
    link();
    return {};
}

CError CAudioProcessMB::findPart(const CAudioProcessDefBase*& part, const char* attribute, const CStringBuf& childName)
{
    part = definition().findProcessDef(childName);
    if (part == nullptr)
        return KOR_FAIL("Invalid process in the '%1' attribute value '%2' specified.", attribute, childName);
    return {};
}

void CAudioProcessMB::reset()
{
    CAudioProcessBase::reset();
    end->reset();
    for (CAudioProcessBase* node : runList)
        node->reset();
}

void CAudioProcessMB::disconnectAll()
{
    CAudioProcessBase::disconnectAll();
    for (CAudioProcessBase* node : runList)
        node->disconnectAll();
}

void CAudioProcessMB::visitRunning(const CVisitor& visit) const
{
    for (CAudioProcessBase* node : runList)
        visit(*node);
}

CError CAudioProcessMB::makeNode(CNode& out, const CAudioProcessDefBase& nodeDefinition, const char* suffix,
                                 int nodeElement)
{
    CAudioProcessPlace place;
    place.name = name() + suffix;
    place.parent = this;
    place.group = group();
    place.element = nodeElement;
    place.standsForGroup = standsForGroup();
    place.joinsRunning = isConfigured;
    if (&nodeDefinition == &definition())
        place.isInStack = place.isInMultiband = true; // this node stands inside its stack, if it has one
    KOR_TRY(createProcess(out, nodeDefinition, context(), place));
    return {};
}

CError CAudioProcessMB::makeBand(CBand& band, int index)
{
    if (index > 0)
    {
        KOR_TRY(makeNode(band.lp, *lpDefinition, multibandLp.suffix, index - 1));
        KOR_TRY(makeNode(band.hp, *hpDefinition, multibandHp.suffix, index - 1));
    }
    if (preDefinition != nullptr)
        KOR_TRY(makeNode(band.pre, *preDefinition, multibandPre.suffix, index));
    KOR_TRY(makeNode(band.mod, definition(), multibandCopySuffix, index));
    return {};
}

void CAudioProcessMB::update()
{
    const std::size_t wanted = static_cast<std::size_t>(countSlot->count(group(), maxBands));
    if (bands.size() == wanted)
        return;
    if (bands.size() > wanted)
        bands.resize(wanted);
    while (bands.size() < wanted)
    {
        CBand band;
        if (CError error = makeBand(band, static_cast<int>(bands.size())))
        {
            report(std::move(error));
            break;
        }
        bands.push_back(std::move(band));
    }
    link();
}

void CAudioProcessMB::link()
{
    runList.clear();
    CAudioOutput* rest = &start; // what the bands so far have left
    CArray<CAudioOutput*> sums;
    const auto append = [this](CAudioProcessBase& node, CAudioOutput* source)
    {
        node.inputs().port(0).setSources({&source, 1});
        runList.push_back(&node);
        return &node.output();
    };
    for (std::size_t i = 0; i < bands.size(); ++i)
    {
        CAudioOutput* band = rest;
        if (i + 1 < bands.size())
        {
            band = append(*bands[i + 1].lp, rest);
            rest = append(*bands[i + 1].hp, rest);
        }
        if (bands[i].pre != nullptr)
            band = append(*bands[i].pre, band);
        sums.push_back(append(*bands[i].mod, band));
    }
    if (sums.empty())
        sums.push_back(rest);
    end->port(0).setSources(sums);
}

void CAudioProcessMB::describeOutputs()
{
    CAudioChannel list[maxPortChannels];
    std::size_t count = 0;
    for (const CAudioPortChannel& channel : inputs().port(0).channels())
        list[count++] = channel.channel;
    start.configure({list, count}, inputs().sampleRate(), inputs().blockCapacity());
}

void CAudioProcessMB::process()
{
    prepareInputs();
    const auto channels = inputs().port(0).channels();
    for (std::size_t c = 0; c < channels.size(); ++c)
        start.buffer(c) = std::move(channels[c].buffer);
    start.blockLength = inputs().blockLength();
    start.deliver();
    for (CAudioProcessBase* node : runList)
        node->process();
    end->refresh();
    end->mix();
    takeOutputs(*end);
    deliverOutputs();
    end->releaseBuffers();
}

}
