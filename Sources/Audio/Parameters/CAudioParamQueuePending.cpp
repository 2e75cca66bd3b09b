// SPDX-License-Identifier: GPL-3.0-or-later
// The changing threads' side: the pending list, what merges in it, and batches.
#include "Audio/Parameters/CAudioParamQueue.h"

#include "Audio/Parameters/CAudioEnv.h"
#include "Audio/Parameters/CAudioParam.h"

#include <algorithm>

namespace kor
{

namespace
{

// Nothing of the parameter's older changes can be heard behind such a record.
bool coversAll(const CAudioParamPooledRecord& record) noexcept
{
    const CAudioParamRequest& change = record.change;
    const bool allOfGroups = change.group == allGroups || change.isSingleGroup;
    const bool fillsOne = change.isSingleElement && change.elementCount > 0;
    const bool wholeLists = change.firstElement == 0 && (change.cut || fillsOne);
    return allOfGroups && wholeLists;
}

// Where a record's effect on the lists ends if others have been there since: a late cut takes away what they appended.
int endOf(const CAudioParamPooledRecord& record) noexcept
{
    return record.change.cut ? CAudioParamStorage::maxElements : record.touchedEnd;
}

}

CLock& CAudioParamQueue::pendingLock() const noexcept
{
    return env != nullptr ? env->lock : ownLock;
}

CAudioParamQueue::CRecord* CAudioParamQueue::makeRecord(CAudioParam& param, const CAudioParamRequest& request,
                                                        int touchedEnd)
{
    CRecord* record = pool.takeRecord();
    record->fill(request, touchedEnd, param.info(), param.sequence);
    record->change.param = &param;
    record->references = 0;
    record->linksPromised = param.bindingCount.load(std::memory_order_relaxed) + 1;
    return record;
}

void CAudioParamQueue::send(CAudioParam& param, const CAudioParamRequest& request, int touchedEnd)
{
    CRecord* record = makeRecord(param, request, touchedEnd);
    CAudioParamBatch* batch = CAudioParamChangeScope::currentBatch();
    if (batch == nullptr || &batch->collector != &param.collector)
    {
        append(record);
        return;
    }
    (batch->last != nullptr ? batch->last->next : batch->first) = record;
    batch->last = record;
}

void CAudioParamQueue::settle(CAudioParam& param, const CAudioParamRequest& request, int touchedEnd, std::uint64_t mark)
{
    bool isOvertaken;
    {
        CLockHolder hold(pendingLock());
        isOvertaken = param.queuedTicket > mark;
        param.settledSequence = param.sequence;
    }
    if (isOvertaken)
        append(makeRecord(param, request, touchedEnd));
}

// What waits in a batch gets its place only when the batch is submitted.
bool CAudioParamQueue::comesBehind(const CAudioParam& param, std::uint64_t mark) const
{
    const CAudioParamBatch* batch = CAudioParamChangeScope::currentBatch();
    if (batch != nullptr && &batch->collector == &param.collector)
        return true;
    CLockHolder hold(pendingLock());
    return param.queuedTicket > mark;
}

void CAudioParamQueue::append(CRecord* record)
{
    CAudioParam& param = *record->change.param;
    pool.promiseLinks(record->linksPromised);
    CLockHolder hold(pendingLock());
    param.settledSequence = std::max(param.settledSequence, record->sequence);
    if (env == nullptr || !env->isProcessing.load(std::memory_order_relaxed) || pendingCount > mergeLimit)
    {
        if (coversAll(*record))
            dropOlder(*record);
        else if (CRecord* older = findMergeable(*record))
        {
            mergeFromStore(*older, *record);
            older->ticket = param.queuedTicket = ++tickets;
            pool.redeemLinks(record->linksPromised);
            pool.retire(record);
            return;
        }
    }
    link(record);
}

void CAudioParamQueue::link(CRecord* record) noexcept
{
    CAudioParam& param = *record->change.param;
    record->next = nullptr;
    record->previous = lastPending;
    (lastPending != nullptr ? lastPending->next : firstPending) = record;
    lastPending = record;
    ++pendingCount;
    record->ticket = param.queuedTicket = ++tickets;
    record->olderOfParam = param.pendingEpoch == epoch ? param.lastPending : nullptr;
    param.lastPending = record;
    param.pendingEpoch = epoch;
}

void CAudioParamQueue::unlink(CRecord* record) noexcept
{
    (record->previous != nullptr ? record->previous->next : firstPending) = record->next;
    (record->next != nullptr ? record->next->previous : lastPending) = record->previous;
    --pendingCount;
}

// The latest pending record of the same parameter and group; nothing jumps over a record for all groups.
CAudioParamQueue::CRecord* CAudioParamQueue::findMergeable(const CRecord& record) const noexcept
{
    const CAudioParam& param = *record.change.param;
    if (record.change.group == allGroups || param.pendingEpoch != epoch)
        return nullptr;
    for (CRecord* older = param.lastPending; older != nullptr; older = older->olderOfParam)
    {
        if (older->change.group == allGroups || older->info != record.info)
            return nullptr;
        if (older->change.group == record.change.group)
            return older;
    }
    return nullptr;
}

// Both changes are in the parameter's store by now, so the widened range takes its values from there; that also serves
// elements between the two ranges. The caller holds the parameter's lock.
void CAudioParamQueue::mergeFromStore(CRecord& older, const CRecord& newer)
{
    CAudioParam& param = *newer.change.param;
    const CAudioParamStorage& store = param.current;
    const std::span<const double> list = store.values(newer.change.group);
    const int held = store.elementCount(newer.change.group);
    CAudioParamRequest merged = newer.change;
    merged.cut = older.change.cut || newer.change.cut;
    merged.firstElement = std::min({older.change.firstElement, newer.change.firstElement, held});
    const int end = std::max(older.change.firstElement + older.change.elementCount,
                             newer.change.firstElement + newer.change.elementCount);
    merged.elementCount = (merged.cut ? held : std::min(end, held)) - merged.firstElement;
    merged.values = list.data() + static_cast<std::size_t>(merged.firstElement) *
                                      static_cast<std::size_t>(merged.elementSize);
    merged.items = &store.data();
    const int touchedEnd = std::max(older.touchedEnd, newer.touchedEnd);
    older.fill(merged, touchedEnd, *newer.info, newer.sequence);
}

void CAudioParamQueue::dropOlder(const CRecord& record) noexcept
{
    CAudioParam& param = *record.change.param;
    if (param.pendingEpoch != epoch)
        return;
    CRecord* older = param.lastPending;
    param.lastPending = nullptr;
    while (older != nullptr)
    {
        CRecord* dropped = older;
        older = older->olderOfParam;
        unlink(dropped);
        pool.redeemLinks(dropped->linksPromised);
        pool.retire(dropped);
    }
}

// While processing, the whole batch enters the list in one hold, so that one flush takes it. A record that another
// change of its parameter has overtaken goes with it, and what the store holds now follows.
void CAudioParamQueue::submit(CAudioParamBatch& batch)
{
    CRecord* first = batch.first;
    batch.first = batch.last = nullptr;
    if (first == nullptr)
        return;
    if (env == nullptr || !env->isProcessing.load(std::memory_order_relaxed))
    {
        submitOneByOne(first);
        return;
    }

    struct COvertaken
    {
        CAudioParam* param;
        int group;
        int firstElement;
        int touchedEnd;
    };
    CArray<COvertaken> overtaken;
    for (const CRecord* record = first; record != nullptr; record = record->next)
        pool.promiseLinks(record->linksPromised);
    {
        CLockHolder hold(pendingLock());
        while (first != nullptr)
        {
            CRecord* record = first;
            first = first->next;
            CAudioParam& param = *record->change.param;
            if (record->sequence < param.settledSequence)
                overtaken.push_back({&param, record->change.group, record->change.firstElement, endOf(*record)});
            param.settledSequence = std::max(param.settledSequence, record->sequence);
            link(record);
        }
    }
    for (const COvertaken& range : overtaken)
        resend(*range.param, range.group, range.firstElement, range.touchedEnd);
}

// Nobody takes the list meanwhile, so each record goes its ordinary way and may merge.
void CAudioParamQueue::submitOneByOne(CRecord* first)
{
    while (first != nullptr)
    {
        CRecord* record = first;
        first = first->next;
        CAudioParam& param = *record->change.param;
        CLockHolder hold(param.mutex);
        if (record->sequence == param.sequence)
        {
            append(record);
            continue;
        }
        resend(param, record->change.group, record->change.firstElement, endOf(*record));
        pool.retire(record);
    }
}

void CAudioParamQueue::resend(CAudioParam& param, int group, int firstElement, int touchedEnd)
{
    CLockHolder hold(param.mutex);
    const CAudioParamStorage& store = param.current;
    const int firstGroup = group == allGroups ? 0 : group;
    const int endGroup = group == allGroups ? store.groupCount() : group + 1;
    for (int g = firstGroup; g < endGroup; ++g)
    {
        const int held = store.elementCount(g);
        CAudioParamRequest request;
        request.param = &param;
        request.group = g;
        request.firstElement = std::min(firstElement, held);
        request.elementCount = std::min(touchedEnd, held) - request.firstElement;
        request.cut = touchedEnd >= held;
        request.elementSize = store.elementSize();
        request.type = store.type();
        request.isSingleGroup = param.info().isSingleGroup;
        request.isSingleElement = param.info().isSingleElement;
        request.values = store.values(g).data() + static_cast<std::size_t>(request.firstElement * request.elementSize);
        request.items = &store.data();
        append(makeRecord(param, request, touchedEnd));
    }
}

}
