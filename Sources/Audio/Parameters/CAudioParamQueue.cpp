// SPDX-License-Identifier: GPL-3.0-or-later
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
    const bool wholeLists = change.firstElement == 0 && (change.cut || (change.isSingleElement && change.elementCount > 0));
    return allOfGroups && wholeLists;
}

// Where a record's effect on the lists ends if others have been there since: a late cut takes away what they appended.
int endOf(const CAudioParamPooledRecord& record) noexcept
{
    return record.change.cut ? CAudioParamStorage::maxElements : record.touchedEnd;
}

bool matches(const CAudioParamBinding& binding, const CAudioParamPooledRecord& record) noexcept
{
    const CAudioParamRequest& change = record.change;
    const bool groupFits = change.group == allGroups || binding.group == everyIndex || binding.group == change.group ||
                           (change.isSingleGroup && binding.group == 0);
    if (!groupFits || record.sequence <= binding.seen)
        return false;
    return binding.element == everyIndex || change.isSingleElement ||
           (binding.element >= change.firstElement && binding.element < record.touchedEnd);
}

}

CLock& CAudioParamQueue::pendingLock() const noexcept
{
    return env != nullptr ? env->lock : const_cast<CLock&>(ownLock);
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

bool CAudioParamQueue::flush()
{
    CRecord* first;
    {
        CLockHolder hold(pendingLock());
        first = firstPending;
        firstPending = lastPending = nullptr;
        pendingCount = 0;
        ++epoch;
    }
    while (firstTouched != nullptr)
    {
        CAudioParam& param = *firstTouched;
        firstTouched = param.nextTouched;
        drainAudible(param);
    }
    ++generation;
    const bool any = first != nullptr;
    while (first != nullptr)
    {
        CRecord* record = first;
        first = first->next;
        record->references = 1;
        deliver(*record);
        pool.redeemLinks(record->linksPromised);
        pool.release(*record);
    }
    return any;
}

void CAudioParamQueue::deliver(CRecord& record)
{
    CAudioParam& param = *record.change.param;
    param.flushedTicket = std::max(param.flushedTicket, record.ticket);
    if (record.change.type == CAudioParamType::real)
    {
        append(param.firstQueued, param.lastQueued, record);
        if (param.touchedGeneration != generation)
        {
            param.touchedGeneration = generation;
            param.nextTouched = firstTouched;
            firstTouched = &param;
        }
    }
    for (CAudioParamBinding* binding = param.firstBinding; binding != nullptr; binding = binding->nextOfParam)
    {
        if (!matches(*binding, record))
            continue;
        if (binding->info != record.info)           // the parameter was defined anew, or at all
        {
            binding->storage->clear(*record.info);
            binding->storage->setGroupCount(param.groupCountOf(*record.info));
            binding->info = record.info;
        }
        CAudioParamListener& listener = *binding->listener;
        if (listener.last == nullptr || listener.last->record != &record)
            append(listener.first, listener.last, record);
    }
}

void CAudioParamQueue::append(CLink*& first, CLink*& last, CRecord& record)
{
    CLink* link = pool.takeLink();
    link->record = &record;
    link->next = nullptr;
    ++record.references;
    (last != nullptr ? last->next : first) = link;
    last = link;
}

void CAudioParamQueue::deliverNow(CAudioParam& param, const CAudioParamRequest& request, int touchedEnd,
                                  const CAudioParamInfo& info)
{
    constexpr std::uint64_t neverSeen = ~std::uint64_t(0);
    CRecord* record = pool.takeAudioRecord();
    record->fill(request, touchedEnd, info, neverSeen);
    record->ticket = 0;
    record->change.param = &param;
    record->references = 1;
    deliver(*record);
    pool.release(*record);
}

void CAudioParamQueue::drainAudible(CAudioParam& param)
{
    while (CLink* link = param.firstQueued)
    {
        CRecord& record = *link->record;
        if (param.audibleInfo != record.info)
        {
            param.audible.clear(*record.info);
            param.audible.setGroupCount(param.groupCountOf(*record.info));
            param.audibleInfo = record.info;
        }
        param.audible.applyChange(record.change);
        param.firstQueued = link->next;
        pool.release(record);
        pool.freeLink(link);
    }
    param.lastQueued = nullptr;
}

void CAudioParamQueue::bind(CAudioParam& param, CAudioParamListener& listener, CAudioParamStorage& storage, int group,
                            int element, const CAudioParamInfo* info, std::uint64_t seen)
{
    if (freeBindings == nullptr)
    {
        const std::size_t count = std::max<std::size_t>(32, bindingTotal);
        bindingChunks.push_back(std::make_unique<CAudioParamBinding[]>(count));
        for (std::size_t i = 0; i < count; ++i)
        {
            CAudioParamBinding& fresh = bindingChunks.back()[i];
            fresh.nextOfParam = freeBindings;
            freeBindings = &fresh;
        }
        bindingTotal += count;
    }
    CAudioParamBinding* binding = freeBindings;
    freeBindings = binding->nextOfParam;
    *binding = {&param, &listener, &storage, group, element, info, seen, param.lastBinding, nullptr,
                listener.firstBinding};
    (param.lastBinding != nullptr ? param.lastBinding->nextOfParam : param.firstBinding) = binding;
    param.lastBinding = binding;
    listener.firstBinding = binding;
    listener.queue = this;
    param.bindingCount.fetch_add(1, std::memory_order_relaxed);
    pool.promiseLinks(1);
}

void CAudioParamQueue::unbind(CAudioParam& param, CAudioParamListener& listener, const CAudioParamStorage& storage)
{
    CAudioParamBinding** place = &listener.firstBinding;
    bool isStillBound = false;
    CAudioParamBinding* removed = nullptr;
    while (CAudioParamBinding* binding = *place)
    {
        if (removed == nullptr && binding->param == &param && binding->storage == &storage)
        {
            removed = binding;
            *place = binding->nextOfListener;
            continue;
        }
        isStillBound = isStillBound || binding->param == &param;
        place = &binding->nextOfListener;
    }
    if (removed == nullptr)
        return;
    (removed->previousOfParam != nullptr ? removed->previousOfParam->nextOfParam : param.firstBinding) =
        removed->nextOfParam;
    (removed->nextOfParam != nullptr ? removed->nextOfParam->previousOfParam : param.lastBinding) =
        removed->previousOfParam;
    removed->nextOfParam = freeBindings;
    freeBindings = removed;
    param.bindingCount.fetch_sub(1, std::memory_order_relaxed);
    pool.redeemLinks(1);
    if (!isStillBound)
        forgetWaiting(listener, param);
    if (listener.firstBinding == nullptr)
        listener.queue = nullptr;
}

void CAudioParamQueue::unbindAll(CAudioParamListener& listener) noexcept
{
    while (const CAudioParamBinding* binding = listener.firstBinding)
        unbind(*binding->param, listener, *binding->storage);
}

void CAudioParamQueue::forgetWaiting(CAudioParamListener& listener, const CAudioParam& param) noexcept
{
    CLink* waiting = listener.first;
    listener.first = listener.last = nullptr;
    while (waiting != nullptr)
    {
        CLink* link = waiting;
        waiting = waiting->next;
        if (link->record->change.param != &param)
        {
            link->next = nullptr;
            (listener.last != nullptr ? listener.last->next : listener.first) = link;
            listener.last = link;
            continue;
        }
        pool.release(*link->record);
        pool.freeLink(link);
    }
}

void CAudioParamQueue::dropFirst(CAudioParamListener& listener) noexcept
{
    CLink* link = listener.first;
    listener.first = link->next;
    if (listener.first == nullptr)
        listener.last = nullptr;
    pool.release(*link->record);
    pool.freeLink(link);
}

// Listeners that outlive the parameters are told that nothing is left to withdraw from.
void CAudioParamQueue::letGo(CAudioParam& param) noexcept
{
    for (CAudioParamBinding* binding = param.firstBinding; binding != nullptr; binding = binding->nextOfParam)
    {
        CAudioParamListener& listener = *binding->listener;
        listener.queue = nullptr;
        listener.firstBinding = nullptr;
        listener.first = listener.last = nullptr;
    }
    param.firstBinding = param.lastBinding = nullptr;
}

}
