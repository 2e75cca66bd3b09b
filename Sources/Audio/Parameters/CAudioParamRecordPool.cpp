// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamRecordPool.h"

#include <algorithm>

namespace kor
{

namespace
{
constexpr std::size_t keptValues = 4096;        // a longer list of values does not stay with its record
}

void CAudioParamPooledRecord::fill(const CAudioParamRequest& request, int endElement, const CAudioParamInfo& definition,
                                   std::uint64_t number)
{
    change = request;
    touchedEnd = endElement;
    sequence = number;
    info = &definition;
    ownItems.clear();
    const std::size_t size = static_cast<std::size_t>(request.elementSize);
    const std::size_t count = static_cast<std::size_t>(request.elementCount) * size;
    double* to = fewValues;
    if (count > inlineValues)
    {
        manyValues.resize(count);
        to = manyValues.data();
    }
    for (std::size_t i = 0; i < count; ++i)
    {
        if (request.type == CAudioParamType::real)
            to[i] = definition.clamp(static_cast<int>(i % size), request.values[i]);
        else
            to[i] = request.items == nullptr
                        ? 0
                        : ownItems.add(request.items->find(CAudioParamData::idOf(request.values[i])));
    }
    change.values = to;
    change.items = &ownItems;
}

CAudioParamRecordPool::~CAudioParamRecordPool()
{
    while (recordChunks != nullptr)
    {
        CChunk<CRecord>* chunk = recordChunks;
        recordChunks = chunk->next;
        delete[] chunk->items;
        delete chunk;
    }
    while (linkChunks != nullptr)
    {
        CChunk<CLink>* chunk = linkChunks;
        linkChunks = chunk->next;
        delete[] chunk->items;
        delete chunk;
    }
}

CAudioParamRecordPool::CRecord* CAudioParamRecordPool::growRecords(int count)
{
    auto* chunk = new CChunk<CRecord>{nullptr, new CRecord[static_cast<std::size_t>(count)], count};
    for (int i = 0; i + 1 < count; ++i)
        chunk->items[i].next = &chunk->items[i + 1];
    CLockHolder hold(lock);
    chunk->next = recordChunks;
    recordChunks = chunk;
    return chunk->items;
}

CAudioParamRecordPool::CLink* CAudioParamRecordPool::growLinks(int count)
{
    auto* chunk = new CChunk<CLink>{nullptr, new CLink[static_cast<std::size_t>(count)], count};
    for (int i = 0; i < count; ++i)
        chunk->items[i].next = i + 1 < count ? &chunk->items[i + 1] : nullptr;
    CLockHolder hold(lock);
    chunk->next = linkChunks;
    linkChunks = chunk;
    linkCapacity.fetch_add(count, std::memory_order_relaxed);
    return chunk->items;
}

CAudioParamRecordPool::CRecord* CAudioParamRecordPool::takeRecord()
{
    CLockHolder hold(lock);
    if (freeRecords == nullptr)
    {
        // Acquire: all that the audio thread did with these records comes before their reuse. The whole stack is taken
        // at once, so no record can come back to its top between a look and an exchange.
        freeRecords = retired.exchange(nullptr, std::memory_order_acquire);
        for (CRecord* record = freeRecords; record != nullptr; record = record->next)
        {
            record->ownItems.clear();
            if (record->manyValues.capacity() > keptValues)
                record->manyValues = {};
        }
    }
    if (freeRecords == nullptr)
    {
        freeRecords = growRecords(recordChunk);
        recordChunk *= 2;
    }
    CRecord* record = freeRecords;
    freeRecords = record->next;
    record->next = nullptr;
    return record;
}

void CAudioParamRecordPool::retire(CRecord* record) noexcept
{
    CRecord* top = retired.load(std::memory_order_relaxed);
    do
        record->next = top;
    while (!retired.compare_exchange_weak(top, record, std::memory_order_release, std::memory_order_relaxed));
}

void CAudioParamRecordPool::promiseLinks(int count)
{
    const int wanted = promised.fetch_add(count, std::memory_order_relaxed) + count +
                       linksInUse.load(std::memory_order_relaxed);
    const int capacity = linkCapacity.load(std::memory_order_relaxed);
    if (wanted <= capacity)
        return;
    const int added = std::max({wanted - capacity, capacity, 64});
    CLink* chain = growLinks(added);
    CLink* last = chain + (added - 1);
    CLink* top = newLinks.load(std::memory_order_relaxed);
    do
        last->next = top;
    while (!newLinks.compare_exchange_weak(top, chain, std::memory_order_release, std::memory_order_relaxed));
}

CAudioParamRecordPool::CRecord* CAudioParamRecordPool::takeAudioRecord()
{
    if (freeAudioRecords == nullptr)
        reserveAudio(std::max(64, audioRecordCount * 2));
    CRecord* record = freeAudioRecords;
    freeAudioRecords = record->next;
    record->next = nullptr;
    return record;
}

void CAudioParamRecordPool::reserveAudio(int count)
{
    const int missing = count - audioRecordCount;
    if (missing <= 0)
        return;
    CRecord* chain = growRecords(missing);
    for (CRecord* record = chain;; record = record->next)
    {
        record->isOfAudioThread = true;
        if (record->next == nullptr)
        {
            record->next = freeAudioRecords;
            break;
        }
    }
    freeAudioRecords = chain;
    audioRecordCount = count;

    constexpr int listenersEach = 4;
    CLink* links = growLinks(missing * listenersEach);
    links[missing * listenersEach - 1].next = freeLinks;
    freeLinks = links;
    linkCapacity.fetch_sub(missing * listenersEach, std::memory_order_relaxed);     // not for queued changes
}

CAudioParamRecordPool::CLink* CAudioParamRecordPool::takeLink()
{
    if (freeLinks == nullptr)
        freeLinks = newLinks.exchange(nullptr, std::memory_order_acquire);
    if (freeLinks == nullptr)
        freeLinks = growLinks(std::max(64, linkCapacity.load(std::memory_order_relaxed)));
    CLink* link = freeLinks;
    freeLinks = link->next;
    linksInUse.store(linksInUse.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    return link;
}

void CAudioParamRecordPool::freeLink(CLink* link) noexcept
{
    link->next = freeLinks;
    freeLinks = link;
    linksInUse.store(linksInUse.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
}

void CAudioParamRecordPool::release(CRecord& record) noexcept
{
    if (--record.references > 0)
        return;
    if (!record.isOfAudioThread)
    {
        retire(&record);
        return;
    }
    record.next = freeAudioRecords;
    freeAudioRecords = &record;
}

}
