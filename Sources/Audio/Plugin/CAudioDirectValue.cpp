// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CAudioDirectValue.h"

#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Parameters/CAudioParamRecordPool.h"

#include <algorithm>

namespace kor
{

namespace
{

constexpr int mostAtOnce = CAudioParamPooledRecord::inlineValues;   // a record holds these without allocation

}

static_assert(std::atomic<double>::is_always_lock_free);

void CAudioDirectValue::setUp(CAudioParamCollector& owner, CAudioParam& param, int groupIndex, int elementIndex)
{
    collector = &owner;
    target = &param;
    group = groupIndex;
    element = std::clamp(elementIndex, 0, elementLimit - 1);
    gapDefaults = std::make_unique<std::atomic<double>[]>(static_cast<std::size_t>(element));
}

void CAudioDirectValue::prepare()
{
    CLockHolder hold(target->lock());
    for (int e = 0; e < element; ++e)
        gapDefaults[static_cast<std::size_t>(e)].store(target->defaultValues().getValue(group, e),
                                                       std::memory_order_relaxed);
}

void CAudioDirectValue::deliver(double real, double noteOfCaller) noexcept
{
    if (!target->hasInfo())
        return;
    int first = element;
    if (!target->info().isSingleElement)
        first = std::min(element, collector->heardCount(*target, group));
    std::uint64_t heardMark = 0;
    while (first <= element)
    {
        double values[mostAtOnce];
        const int count = std::min(element + 1 - first, mostAtOnce);
        for (int i = 0; i < count; ++i)
            values[i] = first + i < element
                            ? gapDefaults[static_cast<std::size_t>(first + i)].load(std::memory_order_relaxed)
                            : real;
        CAudioParamRequest request;
        request.group = group;
        request.firstElement = first;
        request.elementCount = count;
        request.values = values;
        heardMark = collector->deliver(*target, request);
        first += count;
    }
    lastReal.store(real, std::memory_order_relaxed);
    lastNote.store(noteOfCaller, std::memory_order_relaxed);
    mark.store(heardMark, std::memory_order_relaxed);
    order.store(collector->deliveryCount(), std::memory_order_release);
}

std::uint64_t CAudioDirectValue::pendingOrder() const noexcept
{
    const std::uint64_t last = order.load(std::memory_order_acquire);
    return last != settled.load(std::memory_order_acquire) ? last : 0;
}

// Where the store has a gap, the values go the ordinary way, so that the audio side hears the very defaults that the
// store fills it with.
bool CAudioDirectValue::settle(std::atomic<double>* noteTo)
{
    if (pendingOrder() == 0)
        return false;
    CAudioParamChangeScope scope;
    CLockHolder hold(target->lock());
    const std::uint64_t seen = order.load(std::memory_order_acquire);
    if (seen == settled.load(std::memory_order_relaxed))
        return false;
    const double real = lastReal.load(std::memory_order_relaxed);
    if (noteTo != nullptr)
        noteTo->store(lastNote.load(std::memory_order_relaxed), std::memory_order_relaxed);
    const bool hasGap = !target->info().isSingleElement && target->values().elementCount(group) < element;
    if (hasGap)
        target->setValue(group, element, real);
    else
    {
        CAudioParamRequest request;
        request.group = group;
        request.firstElement = element;
        request.values = &real;
        target->storeDelivered(request, mark.load(std::memory_order_relaxed));
    }
    settled.store(seen, std::memory_order_release);
    return true;
}

bool CAudioDirectValue::supersede() noexcept
{
    const std::uint64_t seen = order.load(std::memory_order_acquire);
    if (seen == settled.load(std::memory_order_relaxed))
        return true;
    if (!target->comesBehind(mark.load(std::memory_order_relaxed)))
        return false;
    settled.store(seen, std::memory_order_release);
    return true;
}

}
