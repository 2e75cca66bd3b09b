// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioProcessTerminalBase.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Graph/CAudioProcessDefBase.h"

#include <algorithm>

namespace kor
{

namespace
{

bool isBusy(const CAudioModuleSlot& slot)
{
    return slot.fadeCount() > 0 || slot.isWaiting;
}

}

bool CAudioProcessTerminalBase::isWhole() const noexcept
{
    return definition().traits().isTerminalWhole;
}

int CAudioProcessTerminalBase::runningFades() const noexcept
{
    int fades = 0;
    for (const CAudioModuleSlot& slot : slots)
        fades += slot.fadeCount();
    return fades;
}

CAudioModule* CAudioProcessTerminalBase::findModule(int channel) const noexcept
{
    for (const CAudioModuleSlot& slot : slots)
    {
        if (isWhole() || slot.channel == channel)
            return &slot.newest();
    }
    return nullptr;
}

void CAudioProcessTerminalBase::reset()
{
    CAudioProcessBase::reset();
    for (CAudioModuleSlot& slot : slots)
    {
        while (slot.moduleCount() > 1)
            retire(slot.dropOldest());
        if (slot.isWaiting)
            takeSettings(slot.newest());
        slot.isWaiting = false;
        slot.newest().reset();
    }
}

void CAudioProcessTerminalBase::update()
{
    fadeTimerEnded = false;
    const bool isRebuilt = change.channels || change.rate;
    if (change.rate)
    {
        slots.clear();
        spares.clear(); // made for the old rate
    }
    if (isRebuilt)
        rebuildSlots();
    // A module may look at which ports are connected.
    const bool mustUpdate = isRebuilt && inputs().portCount() > 1;
    for (CAudioModuleSlot& slot : slots)
        updateSlot(slot, mustUpdate);
    if (context().isPriming)
        makeSpares();
}

// A host that moves a parameter at every few samples starts a fade as often. Where there is time, the modules for that
// are made ahead.
void CAudioProcessTerminalBase::makeSpares()
{
    const bool fades = definition().traits().isSmoothUpdate ||
                       std::ranges::any_of(paramSlots, [](const auto& param) { return param->isSmoothUpdate(); });
    if (!fades || slots.empty())
        return;
    const CAudioModuleSlot& any = slots.front();
    CArray<std::unique_ptr<CAudioModule>> kept;
    kept.swap(spares);
    while (kept.size() < slots.size() * CAudioModuleSlot::maxFades)
        kept.push_back(takeModule(any.channel, any.group));
    kept.reserve(kept.size() + slots.size() * (CAudioModuleSlot::maxFades + 1));
    spares.swap(kept);
}

// Channels that stay, in the same group, keep their module with all its memory.
void CAudioProcessTerminalBase::rebuildSlots()
{
    oldSlots.clear();
    oldSlots.swap(slots);
    const auto channels = inputs().port(0).channels();
    if (isWhole())
    {
        for (CAudioModuleSlot& old : oldSlots)
        {
            while (old.moduleCount() > 0)
                retire(old.dropOldest());
        }
        if (!channels.empty())
            fillSlot(slots.emplace_back(), 0, channels.front().channel.group);
    }
    else
    {
        slots.resize(channels.size());
        for (CAudioModuleSlot& old : oldSlots)
        {
            const auto kept = std::ranges::find_if(
                channels, [&old](const CAudioPortChannel& entry)
                { return entry.channel.number == old.channel && entry.channel.group == old.group; });
            if (kept != channels.end())
                std::swap(slots[static_cast<std::size_t>(kept - channels.begin())], old);
            while (old.moduleCount() > 0)
                retire(old.dropOldest());
        }
        for (std::size_t c = 0; c < channels.size(); ++c)
        {
            if (slots[c].moduleCount() == 0)
                fillSlot(slots[c], channels[c].channel.number, channels[c].channel.group);
        }
    }

    // Room for everything that a block may put there.
    const std::size_t slotCount = std::max(slots.size(), channels.size());
    spares.reserve(spares.size() + slotCount * (CAudioModuleSlot::maxFades + 1));
    pointersPerChannel = inputs().portCount();
    inputPointers.reserve(channels.size() * pointersPerChannel);
    runs.reserve(slotCount);
    held.reserve(slotCount);
    wholeResults.reserve(channels.size());
    wholeFresh.reserve(channels.size());
    wholeIn.reserve(channels.size());
    wholeOut.reserve(channels.size());
}

void CAudioProcessTerminalBase::fillSlot(CAudioModuleSlot& slot, int channel, int group)
{
    slot.channel = channel;
    slot.group = group;
    slot.isNew = true;
    std::unique_ptr<CAudioModule> module = takeModule(channel, group);
    const bool isNeutral = joinsRunning() && !isConfigured && module->canBeNeutral();
    if (isNeutral)
        module->startNeutral();
    else
        module->update();
    module->reset();
    slot.start(std::move(module));
    if (isNeutral)
        startFade(slot);
}

bool CAudioProcessTerminalBase::mayLeave()
{
    if (slots.empty() || !slots.front().newest().canBeNeutral())
        return true;
    if (!isLeaving)
    {
        isLeaving = true;
        for (CAudioModuleSlot& slot : slots)
            startFade(slot);
    }
    return std::ranges::none_of(slots, isBusy);
}

void CAudioProcessTerminalBase::stayOn()
{
    if (!isLeaving)
        return;
    isLeaving = false;
    for (CAudioModuleSlot& slot : slots)
        startFade(slot);
}

bool CAudioProcessTerminalBase::checkSteady()
{
    return isStraight() && std::ranges::none_of(slots, isBusy);
}

bool CAudioProcessTerminalBase::sharesSteadyOutput() const
{
    return isWhole() && !slots.empty() && slots.front().newest().passThroughPort() < 0 &&
           slots.front().newest().sharesOutput();
}

void CAudioProcessTerminalBase::updateSlot(CAudioModuleSlot& slot, bool mustUpdate)
{
    if (slot.isNew) // has read everything already
    {
        slot.isNew = false;
        return;
    }
    bool isConcerned = false;
    bool isSmooth = definition().traits().isSmoothUpdate;
    for (const auto& param : paramSlots)
    {
        const std::uint32_t ownGroup = 1u << (static_cast<unsigned>(slot.group) & 31u);
        const std::uint32_t wanted = param->useAllGroups() ? ~0u : ownGroup;
        if ((param->changeMask & wanted) != 0)
        {
            isConcerned = true;
            isSmooth |= param->isSmoothUpdate();
        }
    }

    // While values wait, the newest module must not see them: they come with the next fade, all at once. A node that
    // leaves has no use for them.
    if (slot.isWaiting || (isConcerned && isSmooth && !isLeaving))
        startFade(slot);
    else if ((isConcerned || mustUpdate) && !isLeaving)
        slot.newest().update();
}

void CAudioProcessTerminalBase::takeSettings(CAudioModule& module)
{
    if (isLeaving)
        module.startNeutral();
    else
        module.update();
}

void CAudioProcessTerminalBase::startFade(CAudioModuleSlot& slot)
{
    slot.isWaiting = slot.fadeCount() == CAudioModuleSlot::maxFades;
    if (slot.isWaiting)
        return;

    std::unique_ptr<CAudioModule> module = takeModule(slot.channel, slot.group);
    takeSettings(*module);
    if (module->hasSameSettings(slot.newest()))
    {
        retire(std::move(module));
        return;
    }
    module->reset();
    slot.fadeTo(std::move(module), definition().fadeSamples(inputs().sampleRate()));
    startTimer(slot.fade(slot.moduleCount() - 1).remaining() / inputs().sampleRate(), fadeTimerEnded);
}

std::unique_ptr<CAudioModule> CAudioProcessTerminalBase::takeModule(int channel, int group)
{
    std::unique_ptr<CAudioModule> module;
    const bool isNew = spares.empty();
    if (isNew)
    {
        module = createModule();
        module->owner = this;
    }
    else
    {
        module = std::move(spares.back());
        spares.pop_back();
    }
    module->channel = channel;
    module->group = group;
    module->element = element();
    module->sampleRate = inputs().sampleRate();
    if (isNew)
    {
        module->registerParams();
        module->prepare();
    }
    return module;
}

void CAudioProcessTerminalBase::retire(std::unique_ptr<CAudioModule> module)
{
    spares.push_back(std::move(module));
}

void CAudioProcessTerminalBase::dropFaded(CAudioModuleSlot& slot)
{
    for (int count = slot.finishedIndex(); count > 0; --count)
        retire(slot.dropOldest());
}

void CAudioProcessTerminalBase::describeOutputs()
{
    CAudioChannel list[maxPortChannels];
    std::size_t count = 0;
    for (const CAudioPortChannel& entry : inputs().port(0).channels())
    {
        const CAudioModuleSlot& slot = slots[isWhole() ? 0 : count];
        list[count] = entry.channel;
        list[count].latency = inputs().latency() + slot.newest().latency();
        ++count;
    }
    output().configure({list, count}, inputs().sampleRate(), inputs().blockCapacity());
}

}
