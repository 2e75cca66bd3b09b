// SPDX-License-Identifier: GPL-3.0-or-later
// The audio thread's side: objects, posts, the start of a block.
#include "Other/Interface/CAudioVizCollector.h"

#include "Other/Interface/CAudioVizSlotManager.h"
#include "Other/Interface/CExportSlotParamListener.h"
#include "Other/Interface/CNameParamListener.h"

#include <algorithm>

namespace kor
{

namespace
{

// A display fetches about thirty times a second. What lies three times as long is too old to be shown.
constexpr double staleSeconds = 0.1;

// For this long an importer may be late.
constexpr double exportSeconds = 0.75;

}

CAudioVizCollector::CAudioVizCollector() : pool(CAudioVizPool::create())
{
    for (std::atomic<int>& index : wantedIndex)
        index = -1;
    exportIndex.fill(-1);
    requests.reserve(64);
}

CAudioVizCollector::~CAudioVizCollector()
{
    pool->release();
}

double CAudioVizCollector::vizFps() const noexcept
{
    return env->vizFps;
}

CAudioVizRef<CAudioVizDataMeter> CAudioVizCollector::makeMeter(CAudioVizSlot& slot)
{
    auto meter = pool->takeMeter();
    if (!meter)
        makeRoom(slot, CAudioVizPool::meterClass);
    while (!meter)
        meter = pool->takeMeter();
    return meter;
}

CAudioVizRef<CAudioVizDataSpectrum> CAudioVizCollector::makeSpectrum(CAudioVizSlot& slot, int valueCount)
{
    const int count = std::clamp(valueCount, 0, CAudioVizPool::maxPooledValues);
    auto spectrum = pool->takeSpectrum(count);
    if (!spectrum)
        makeRoom(slot, CAudioVizPool::spectrumClass(count));
    while (!spectrum)
        spectrum = pool->takeSpectrum(count);
    return spectrum;
}

// Afterwards the pool has an object of the class. Stale ones of another class go too: they are from before a change.
void CAudioVizCollector::makeRoom(CAudioVizSlot& slot, int objectClass)
{
    bool isFound = false;
    {
        CLockHolder hold(pendingLock);
        while (!isFound && !slot.pending.isEmpty() && slot.pending.oldest()->postedAt < env->time - staleSeconds)
            isFound = slot.pending.takeOldest()->poolClass == objectClass;
    }
    if (!isFound)
        pool->addOne(objectClass);
}

CAudioVizDataPtr CAudioVizCollector::copyOf(const CAudioVizData& data)
{
    if (data.poolClass < 0)
        return CAudioVizData::clone(data);
    if (data.kind == CAudioVizKind::meter)
    {
        auto meter = pool->takeMeter();
        if (!meter)
            pool->addOne(data.poolClass);
        while (!meter)
            meter = pool->takeMeter();
        *meter = static_cast<const CAudioVizDataMeter&>(data);
        return meter;
    }
    const auto& original = static_cast<const CAudioVizDataSpectrum&>(data);
    const int count = static_cast<int>(original.values.size());
    auto spectrum = pool->takeSpectrum(count);
    if (!spectrum)
        pool->addOne(data.poolClass);
    while (!spectrum)
        spectrum = pool->takeSpectrum(count);
    *spectrum = original;                           // the values fit into what it has
    return spectrum;
}

void CAudioVizCollector::post(CAudioVizSlot& slot, CAudioVizDataPtr data)
{
    const double now = env->time;
    time.store(now, std::memory_order_relaxed);
    data->postedAt = now;
    const bool hasLocal = slot.listenerCount != slot.groupListenerCount;
    const int group = data->group;
    if (group >= 0 && group < maxGroups && slot.perGroupCount[static_cast<std::size_t>(group)] > 0 &&
        exportChannel[static_cast<std::size_t>(group)] != nullptr)
    {
        if (!hasLocal)
        {
            exportData(slot, std::move(data));
            return;
        }
        exportData(slot, copyOf(*data));
    }
    if (!hasLocal)
        return;
    data->source = -1;
    CAudioVizDataPtr overflow;
    CLockHolder hold(pendingLock);
    if (slot.pending.size() >= maxPending)
        overflow = slot.pending.takeOldest();
    slot.pending.append(std::move(data));
}

void CAudioVizCollector::exportData(const CAudioVizSlot& slot, CAudioVizDataPtr data)
{
    const auto group = static_cast<std::size_t>(data->group);
    data->source = exportIndex[group];
    data->time = 0.0;
    exportChannel[group]->append(slot.name, std::move(data), env->time, slot.perGroupCount[group]);
}

void CAudioVizCollector::changeListeners(CAudioVizSlot& slot, int delta, int group)
{
    const int before = slot.listenerCount;
    if (group >= 0 && group < maxGroups)
    {
        slot.groupListenerCount += delta;
        slot.perGroupCount[static_cast<std::size_t>(group)] += delta;
    }
    slot.listenerCount = std::max(before + delta, 0);
    const bool isWanted = slot.listenerCount > 0;
    if (isWanted != (before > 0) && slot.enableParam != nullptr)
        switchModule(slot, isWanted);
}

// To store the value is to tell all that follow the parameter, which is another thread's work. What is pending, such as
// the parameter's first value, goes first, as this is newer.
void CAudioVizCollector::switchModule(CAudioVizSlot& slot, bool isOn)
{
    params->flush();
    const double value = isOn ? 1.0 : 0.0;
    CAudioParamRequest request;
    request.values = &value;
    const std::uint64_t mark = params->deliver(*slot.enableParam, request);
    // Acquires what the last taker did to the slot's link.
    if (slot.switched.exchange(mark << 2 | (isOn ? 3 : 1), std::memory_order_acq_rel) != 0)
        return;                                     // in the list already
    CAudioVizSlot* head = firstSwitched.load(std::memory_order_relaxed);
    do
        slot.nextSwitched = head;
    while (!firstSwitched.compare_exchange_weak(head, &slot, std::memory_order_release, std::memory_order_relaxed));
}

void CAudioVizCollector::frameUpdate()
{
    time.store(env->time, std::memory_order_relaxed);
    if (isExportChanged.load(std::memory_order_relaxed) && isExportChanged.exchange(false, std::memory_order_acquire))
        applyExportConfig();
    if (heldChannelCount > 0)
        for (int g = 0; g < maxGroups; ++g)
            serveChannel(g);
    if (hasLocalDeltas.load(std::memory_order_relaxed))
        takeLocalDeltas();
}

void CAudioVizCollector::serveChannel(int group)
{
    CAudioVizExportChannel* channel = exportChannel[static_cast<std::size_t>(group)];
    if (channel == nullptr)
        return;
    channel->dropOlder(env->time - exportSeconds);
    channel->takeChanges(requests);
    for (const CAudioVizExportChannel::CRequest& request : requests)
    {
        CAudioVizSlot& slot = getSlot(*request.name);
        changeListeners(slot, request.count, group);
        if (slot.perGroupCount[static_cast<std::size_t>(group)] <= 0)
            channel->drop(*request.name);
    }
}

void CAudioVizCollector::takeLocalDeltas()
{
    CAudioVizSlot* changed;
    {
        CLockHolder hold(localLock);
        hasLocalDeltas.store(false, std::memory_order_relaxed);
        changed = std::exchange(firstChanged, nullptr);
    }
    while (changed != nullptr)
    {
        CAudioVizSlot& slot = *changed;
        int delta = 0;
        {
            CLockHolder hold(localLock);            // from here on the slot may enter the list anew
            changed = std::exchange(slot.nextChanged, nullptr);
            slot.isChanged = false;
            delta = std::exchange(slot.localDelta, 0);
        }
        if (delta != 0)
            changeListeners(slot, delta, -1);
    }
}

// All that leave go first, so that two groups may exchange their slots.
void CAudioVizCollector::applyExportConfig()
{
    std::array<bool, maxGroups> isMoved{};
    for (int g = 0; g < maxGroups; ++g)
    {
        const auto group = static_cast<std::size_t>(g);
        const int wanted = wantedIndex[group].load(std::memory_order_relaxed);
        if (wanted == exportIndex[group])
            continue;
        isMoved[group] = true;
        leaveChannel(g);
        exportIndex[group] = wanted;
    }
    for (int g = 0; g < maxGroups; ++g)
        if (isMoved[static_cast<std::size_t>(g)])
            enterChannel(g);
}

void CAudioVizCollector::leaveChannel(int group)
{
    CAudioVizExportChannel* channel = std::exchange(exportChannel[static_cast<std::size_t>(group)], nullptr);
    if (channel == nullptr)
        return;
    --heldChannelCount;
    channel->listRequests(requests);
    for (const CAudioVizExportChannel::CRequest& request : requests)
        changeListeners(getSlot(*request.name), -request.count, group);
    channel->release();
}

void CAudioVizCollector::enterChannel(int group)
{
    const int index = exportIndex[static_cast<std::size_t>(group)];
    if (index < 0)
        return;
    CAudioVizExportChannel& channel = CAudioVizSlotManager::get().channel(index);
    if (!channel.claim(instance))
        return;                                     // silent until the configuration changes again
    exportChannel[static_cast<std::size_t>(group)] = &channel;
    ++heldChannelCount;
    channel.listRequests(requests);
    for (const CAudioVizExportChannel::CRequest& request : requests)
        changeListeners(getSlot(*request.name), request.count, group);
}

}
