// SPDX-License-Identifier: GPL-3.0-or-later
// The other threads' side: start and end, slots, listeners, what is sent to the window, and the names of export slots.
#include "Audio/Parameters/CAudioParamDef.h"
#include "Other/Interface/CAudioVizCollector.h"
#include "Other/Interface/CAudioVizSlotManager.h"
#include "Other/Interface/CExportSlotNameListener.h"
#include "Other/Interface/CExportSlotParamListener.h"
#include "Other/Interface/CNameParamListener.h"

#include <algorithm>
#include <cmath>

namespace kor
{

namespace
{

const char* const enableSuffix = "-enable";

int toInt(double value)
{
    return static_cast<int>(std::lround(value));
}

bool endsWith(const CStringBuf& text, const CStringBuf& end)
{
    return text.length() > end.length() && text.substr(text.length() - end.length()) == end;
}

}

CError CAudioVizCollector::init()
{
    KOR_TRY(CObject::init());
    KOR_TRY(findObjectByAttr(env, "env"));
    CAudioParamCollector* found = nullptr;
    KOR_TRY(findObjectByAttr(found, "param-collector"));
    CAudioParamDef* definition = nullptr;
    KOR_TRY(findObjectChecked(definition, "shared::audio.param-enable-viz"));
    enableDefinition = definition;
    instance = CAudioVizSlotManager::get().newInstanceId();
    params = found;
    params->addHook(*this);
    return {};
}

void CAudioVizCollector::uninit()
{
    if (params != nullptr)
    {
        exportListener.reset();
        textListener.reset();
        params->removeHook(*this);
        params = nullptr;
        CAudioVizSlotManager& manager = CAudioVizSlotManager::get();
        manager.publish(instance, {}, nameTicket.fetch_add(1) + 1, publishedTicket);
        for (CAudioVizExportChannel*& channel : exportChannel)
            if (channel != nullptr)
                std::exchange(channel, nullptr)->release();
        heldChannelCount = 0;
        for (const auto& [key, count] : imports)
            manager.channel(key.second).changeRequest(key.first, -count);
        imports.clear();
    }
    CObject::uninit();
}

// Now the graph's definitions have asked for all their parameters: an enable parameter that nobody has defined is that of
// a process which shows itself. Its slot is made here, so that an importer's first request makes none on the audio thread.
void CAudioVizCollector::onCollectorReady()
{
    params->forEachParam(
        [this](CAudioParam& param)
        {
            const CStringBuf& name = param.fullName();
            if (!param.hasInfo() && endsWith(name, enableSuffix))
                getSlot(name.substr(0, name.length() - CStringBuf(enableSuffix).length()));
        });
    exportListener = std::make_unique<CExportSlotParamListener>(*this, params->findParam(getAttrString("export-slot-param")),
                                                                params->findParam(getAttrString("export-color-param")));
    textListener = std::make_unique<CNameParamListener>(*this, params->findParam("plugin.modMain.instance-name"),
                                                        params->findParam("plugin.modMain.io-params.group-names"));
    if (CAudioParam* param = exportListener->slotParam)
    {
        CLockHolder hold(param->lock());
        noteExportSlots(*param);
    }
    publishNames();
}

CAudioVizSlot& CAudioVizCollector::getSlot(const CStringBuf& name)
{
    {
        CLockHolder hold(slotsLock);
        if (const auto found = slots.find(name); found != slots.end())
            return *found->second;
    }
    auto made = std::make_unique<CAudioVizSlot>(*this, name);
    made->enableParam = makeEnableParam(name);
    CLockHolder hold(slotsLock);
    return *slots.try_emplace(name, std::move(made)).first->second;
}

CAudioVizSlot* CAudioVizCollector::findOrMakeSlot(const CStringBuf& name)
{
    {
        CLockHolder hold(slotsLock);
        if (const auto found = slots.find(name); found != slots.end())
            return found->second.get();
        if (foreignSlots >= maxForeignSlots)
            return nullptr;
        ++foreignSlots;
    }
    return &getSlot(name);
}

// A second spectrum comes from the module of the first, and a parameter that means something else is not ours to switch.
CAudioParam* CAudioVizCollector::makeEnableParam(const CStringBuf& slotName)
{
    if (endsWith(slotName, "-sec"))
        return nullptr;
    const CStringBuf name = slotName + enableSuffix;
    const CAudioParam* known = params->findParam(name);
    if (known != nullptr && known->hasInfo() && known->definition() != enableDefinition)
        return nullptr;
    return &params->defineParam(name, *enableDefinition);
}

// The parameter's lock is held around both steps, so that of two threads here the one that takes later stores later.
void CAudioVizCollector::storeSwitched()
{
    CAudioVizSlot* next = firstSwitched.exchange(nullptr, std::memory_order_acquire);
    while (next != nullptr)
    {
        CAudioVizSlot& slot = *next;
        next = slot.nextSwitched;                   // read before the slot is free to enter the list anew
        CAudioParamChangeScope scope;
        CLockHolder hold(slot.enableParam->lock());
        const std::uint64_t switched = slot.switched.exchange(0, std::memory_order_acq_rel);
        const double value = (switched & 2) != 0 ? 1.0 : 0.0;
        CAudioParamRequest request;
        request.values = &value;
        slot.enableParam->storeDelivered(request, switched >> 2);
    }
}

void CAudioVizCollector::noteLocalListener(CAudioVizSlot& slot, int delta)
{
    storeSwitched();
    CLockHolder hold(localLock);
    slot.localDelta += delta;
    if (slot.isChanged)
        return;
    slot.isChanged = true;
    slot.nextChanged = firstChanged;
    firstChanged = &slot;
    hasLocalDeltas.store(true, std::memory_order_relaxed);
}

void CAudioVizCollector::noteImport(int slotIndex, const CStringBuf& name, int delta)
{
    if (slotIndex < 0 || slotIndex >= CAudioVizSlotManager::slotCount)
        return;
    storeSwitched();
    {
        CLockHolder hold(importLock);
        const auto import = imports.try_emplace(CImportKey(name, slotIndex), 0).first;
        const int count = import->second += delta;
        if (count <= 0)
            imports.erase(import);
        if (count < 0)
            return;
    }
    CAudioVizSlotManager::get().channel(slotIndex).changeRequest(name, delta);
}

void CAudioVizCollector::takePending(CArray<CTaken>& taken)
{
    {
        CLockHolder hold(slotsLock);
        for (const auto& [name, slot] : slots)
            taken.push_back({slot.get(), {}});
    }
    CLockHolder hold(pendingLock);
    for (CTaken& row : taken)
        row.data = std::move(row.slot->pending);
}

void CAudioVizCollector::clearPending()
{
    CArray<CTaken> taken;
    takePending(taken);
    for (CAudioVizExportChannel* channel : exportChannel)
        if (channel != nullptr)
            channel->clear();
}

CError CAudioVizCollector::writeVizData(COutputStream& stream)
{
    storeSwitched();
    const double now = time.load(std::memory_order_relaxed);
    KOR_TRY(stream.writeDouble(now));
    KOR_TRY(writePending(stream, now));
    tellOfNames();
    KOR_TRY(writeImported(stream));
    return stream.writeInt(0);
}

CError CAudioVizCollector::writePending(COutputStream& stream, double now)
{
    CArray<CTaken> taken;
    takePending(taken);
    std::array<int, CAudioVizPool::classCount> recent{};
    for (CTaken& row : taken)
    {
        if (row.data.isEmpty())
            continue;
        KOR_TRY(stream.writeInt(row.data.size()));
        KOR_TRY(stream.writeString(row.slot->name));
        while (const CAudioVizDataPtr data = row.data.takeOldest())
        {
            if (data->poolClass >= 0 && data->postedAt > now - 1.0 / env->vizFps)
                ++recent[static_cast<std::size_t>(data->poolClass)];
            KOR_TRY(CAudioVizData::writeAny(stream, *data));
        }
    }
    // What is stale is used again: with five frames' worth the display may be late at no cost to the audio thread.
    for (int c = 0; c < CAudioVizPool::classCount; ++c)
        pool->fillUp(c, 5 * recent[static_cast<std::size_t>(c)]);
    return {};
}

void CAudioVizCollector::tellOfNames()
{
    const int generation = CAudioVizSlotManager::get().generation();
    {
        CLockHolder hold(importLock);
        if (std::exchange(seenGeneration, generation) == generation)
            return;
    }
    if (nameListener != nullptr)
        nameListener->onExportSlotNames();
}

// What is read is only referenced under the channel's lock, for which the exporter's audio thread may wait.
CError CAudioVizCollector::writeImported(COutputStream& stream)
{
    CArray<CImportKey> wanted;
    {
        CLockHolder hold(importLock);
        for (const auto& [key, count] : imports)
            wanted.push_back(key);
    }
    CArray<CAudioVizDataPtr> read;
    for (const auto& [name, index] : wanted)
    {
        CAudioVizSlotManager::get().channel(index).read(name, instance, read);
        for (const CAudioVizDataPtr& data : read)
        {
            KOR_TRY(stream.writeInt(1));
            KOR_TRY(stream.writeString(name));
            KOR_TRY(CAudioVizData::writeAny(stream, *data));
        }
        read.clear();
    }
    return {};
}

CError CAudioVizCollector::writeExportSlotNames(COutputStream& stream)
{
    const auto names = CAudioVizSlotManager::get().names();
    KOR_TRY(stream.writeInt(static_cast<std::int32_t>(names.size())));
    for (const auto& [index, text] : names)
    {
        KOR_TRY(stream.writeInt(index));
        KOR_TRY(stream.writeString(text));
    }
    return {};
}

// Under the parameter's lock.
void CAudioVizCollector::noteExportSlots(const CAudioParam& param)
{
    const int groups = std::min(maxGroups, param.values().groupCount());
    for (int g = 0; g < groups; ++g)
        wantedIndex[static_cast<std::size_t>(g)].store(
            std::clamp(toInt(param.values().getValue(g, 0)), 0, CAudioVizSlotManager::slotCount) - 1,
            std::memory_order_relaxed);
    isExportChanged.store(true, std::memory_order_release);
}

void CAudioVizCollector::publishNames()
{
    // Of two threads here the one with the later ticket has read all that the other has.
    const unsigned ticket = nameTicket.fetch_add(1) + 1;
    const CAudioParam* const slotParam = exportListener->slotParam;
    const CAudioParam* const colorParam = exportListener->colorParam;
    const CAudioParam* const groupsParam = textListener->groupsParam;
    const CStringBuf name = textListener->instanceParam != nullptr ? textListener->instanceParam->getText(0, 0)
                                                                   : CStringBuf();
    CMap<int, CStringBuf> texts;
    for (int g = 0; slotParam != nullptr && g < std::min(maxGroups, params->groupCount()); ++g)
    {
        const int number = toInt(slotParam->getValue(g, 0));
        if (number < 1 || number > CAudioVizSlotManager::slotCount)
            continue;
        const int color = colorParam != nullptr ? toInt(colorParam->getValue(g, 0)) : 0;
        const CStringBuf groupName = groupsParam != nullptr ? groupsParam->getText(0, g) : CStringBuf();
        texts[number - 1] = CStringBuf::fromInt(number) + ": " + name + " (" + groupName + ")|color=" +
                            CStringBuf::fromInt(color);
    }
    CAudioVizSlotManager::get().publish(instance, texts, ticket, publishedTicket);
}

}
