// SPDX-License-Identifier: GPL-3.0-or-later
// The audio thread's side: taking the list, delivery, bindings.
#include "Audio/Parameters/CAudioParamQueue.h"

#include "Audio/Parameters/CAudioParam.h"

#include <algorithm>

namespace kor
{

namespace
{

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
    ++deliveries;
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
