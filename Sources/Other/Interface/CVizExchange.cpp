// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CVizExchange.h"

#include "Core/CStream.h"
#include "Other/Interface/CAudioVizClient.h"
#include "Other/Interface/CVizListener.h"

#include <algorithm>
#include <cmath>

namespace kor
{

void CVizExchange::initClass(CObjectClassInfo& info)
{
    CObject::initClass(info);
    info.addEvent("tick", eventMethod<&CVizExchange::onTick>);
}

CError CVizExchange::init()
{
    KOR_TRY(CObject::init());
    vizFps = std::max(1.0, getAttrDouble("viz-fps"));
    const double timeout = getAttrDouble("inactive-timeout");
    inactiveFrames = static_cast<int>(std::nearbyint((timeout < 0.01 ? 0.5 : std::min(timeout, 3600.0)) * vizFps));
    KOR_TRY(findObjectByAttr(client, "interface-client"));
    client->setVizProcessor(this);
    return {};
}

CError CVizExchange::initChilds()
{
    KOR_TRY(CObject::initChilds());
    CAttrMap rate;
    rate["fps"].setDouble(vizFps);
    CObject* timer = nullptr;
    KOR_TRY(createChild(timer, getAttrString("timer-tag"), "timer", false, nullptr, &rate));
    listenObject(timer->fullName(), "tick", "tick");
    return {};
}

void CVizExchange::uninit()
{
    if (client != nullptr)
    {
        client->setVizProcessor(nullptr);
        for (const auto& [name, waiting] : listeners)
            for (const auto& [listener, record] : waiting)
                client->unlistenViz(record.id).ignore();    // the audio side may be gone already
        client = nullptr;
    }
    listeners.clear();
    queue.clear();
    queuedCount = 0;
    CObject::uninit();
}

CError CVizExchange::addListener(CVizListener& listener, const CStringBuf& name, int source, int groupFilter,
                                 int channelFilter)
{
    KOR_TRY(removeListener(listener, name));
    if (client == nullptr)
        return KOR_FAIL("No client object defined.");
    CRecord record{.source = source, .groupFilter = groupFilter, .channelFilter = channelFilter};
    KOR_TRY(client->listenViz(record.id, name, source));
    listeners[name][&listener] = record;
    return {};
}

CError CVizExchange::removeListener(CVizListener& listener, const CStringBuf& name)
{
    const auto waiting = listeners.find(name);
    if (waiting == listeners.end())
        return {};
    const auto found = waiting->second.find(&listener);
    if (found == waiting->second.end())
        return {};
    const std::uint32_t listening = found->second.id;
    waiting->second.erase(found);
    if (waiting->second.empty())
        listeners.erase(waiting);
    return client->unlistenViz(listening);
}

CVizExchange::CRecord* CVizExchange::findRecord(const CStringBuf& name, CVizListener* listener)
{
    const auto waiting = listeners.find(name);
    if (waiting == listeners.end())
        return nullptr;
    const auto found = waiting->second.find(listener);
    return found != waiting->second.end() ? &found->second : nullptr;
}

// A call may take away any listener, so each is looked up again before its own.
template <class Call>
void CVizExchange::forEachRecord(Call&& call)
{
    CArray<std::pair<CStringBuf, CVizListener*>> all;
    for (const auto& [name, waiting] : listeners)
        for (const auto& [listener, record] : waiting)
            all.emplace_back(name, listener);
    for (const auto& [name, listener] : all)
        if (CRecord* const record = findRecord(name, listener))
            call(*record, *listener);
}

CError CVizExchange::onTick()
{
    if (isRunning)
        forEachRecord(
            [this](CRecord& record, CVizListener& listener)
            {
                if (record.idleFrames < inactiveFrames)
                    ++record.idleFrames;
                else if (!std::exchange(record.isInactive, true))
                    listener.onVizInactive();
            });
    return client != nullptr ? client->requestVizData() : CError();
}

void CVizExchange::clear()
{
    queue.clear();
    queuedCount = 0;
    forEachRecord(
        [](CRecord& record, CVizListener& listener)
        {
            record.isInactive = true;
            listener.onVizInactive();
        });
}

CError CVizExchange::processVizData(CInputStream& stream)
{
    double time = 0.0;
    KOR_TRY(stream.readDouble(time));
    if (!std::isfinite(time))
        return KOR_FAIL("Invalid time of visualisation data.");
    deliverDue(time);
    for (;;)
    {
        std::int32_t count = 0;
        KOR_TRY(stream.readInt(count));
        if (count == 0)
            return {};
        if (count < 0)
            return KOR_FAIL("Invalid count %1 of visualisation data.", count);
        CStringBuf name;
        KOR_TRY(stream.readString(name));
        for (; count > 0; --count)
        {
            CAudioVizDataPtr data;
            KOR_TRY(CAudioVizData::readAny(stream, data));
            if (!data)
                continue;
            if (data->time > time && std::isfinite(data->time))
                enqueue(name, std::move(data));
            else
                deliver(name, *data);
        }
    }
}

// One at a time from the front, since a listener may clear the queue.
void CVizExchange::deliverDue(double time)
{
    while (!queue.empty() && queue.begin()->first <= time)
    {
        const auto due = queue.extract(queue.begin());
        queuedCount -= static_cast<int>(due.mapped().size());
        for (const auto& [name, data] : due.mapped())
            deliver(name, *data);
    }
}

void CVizExchange::enqueue(const CStringBuf& name, CAudioVizDataPtr data)
{
    if (listeners.find(name) == listeners.end())
        return;
    if (queuedCount >= maxQueued)
    {
        queuedCount -= static_cast<int>(queue.begin()->second.size());
        queue.erase(queue.begin());
    }
    const double time = data->time;
    queue[time].emplace_back(name, std::move(data));
    ++queuedCount;
}

bool CVizExchange::CRecord::wants(const CAudioVizData& data) const noexcept
{
    return data.source == source && (groupFilter == -1 || groupFilter == data.group || data.source >= 0) &&
           (channelFilter == -1 || channelFilter == data.channel || data.channel == -1);
}

void CVizExchange::deliver(const CStringBuf& name, const CAudioVizData& data)
{
    const auto waiting = listeners.find(name);
    if (waiting == listeners.end())
        return;
    CArray<CVizListener*> all;
    for (const auto& [listener, record] : waiting->second)
        if (record.wants(data))
            all.push_back(listener);
    for (CVizListener* const listener : all)
    {
        CRecord* const record = findRecord(name, listener);
        if (record == nullptr)
            continue;
        record->idleFrames = 0;
        record->isInactive = false;
        listener->onVizData(name, data);
    }
}

CError CVizExchange::processExportSlotNames(CInputStream& stream)
{
    std::int32_t count = 0;
    KOR_TRY(stream.readInt(count));
    if (count < 0)
        return KOR_FAIL("Invalid count %1 of export slots.", count);
    CMap<int, CStringBuf> read;
    for (; count > 0; --count)
    {
        std::int32_t index = 0;
        CStringBuf text;
        KOR_TRY(stream.readInt(index));
        KOR_TRY(stream.readString(text));
        read[index] = std::move(text);
    }
    names = std::move(read);
    return sendEvent("export-slot-names-changed");
}

}
