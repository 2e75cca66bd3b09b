// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParam.h"

#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Parameters/CAudioParamDataItemString.h"
#include "Audio/Parameters/CAudioParamDef.h"
#include "Audio/Parameters/CAudioParamQueue.h"

#include <algorithm>

namespace kor
{

namespace
{
const CAudioParamInfo noInfo;
}

/// A request that fits the parameter, with values of its own, so that a caller may pass values out of this very store.
struct CAudioParam::CPrepared
{
    CAudioParamRequest request;
    double fewValues[CAudioParamPooledRecord::inlineValues];
    CArray<double> manyValues;
};

/// How a change is made and carried on.
struct CAudioParam::CManner
{
    CAudioParamUndoContext* undo = nullptr;
    const std::uint64_t* mark = nullptr;        // heard already, see storeDelivered
};

CAudioParam::CAudioParam(CAudioParamCollector& owner, const CStringBuf& fullName) : collector(owner), name(fullName) {}

CAudioParam::~CAudioParam() = default;

const CAudioParamInfo& CAudioParam::info() const noexcept
{
    const CAudioParamInfo* found = paramInfo.load(std::memory_order_acquire);
    return found != nullptr ? *found : noInfo;
}

int CAudioParam::groupCountOf(const CAudioParamInfo& definition) const noexcept
{
    return definition.isSingleGroup ? 1 : collector.groupCount();
}

void CAudioParam::define(const CAudioParamDef& definition)
{
    CAudioParamChangeScope scope;
    CLockHolder hold(mutex);
    const CAudioParamInfo* old = paramInfo.load(std::memory_order_relaxed);
    if (old == nullptr || !(*old == definition.info()))
        takeInfo(definition.info());
    definitionObject.store(&definition, std::memory_order_release);
}

void CAudioParam::takeInfo(const CAudioParamInfo& next)
{
    const bool isUnheard = infos.empty() && bindingCount.load(std::memory_order_relaxed) == 0;
    infos.push_back(std::make_unique<CAudioParamInfo>(next));
    const CAudioParamInfo* taken = infos.back().get();
    current = {};
    current.clear(*taken);
    current.setGroupCount(groupCountOf(*taken));
    current.fillWithDefaults();
    defaults = current;
    if (isUnheard)                                  // the audio thread knows nothing of the parameter yet
    {
        if (taken->type == CAudioParamType::real)
            audible = current;
        audibleInfo = taken;
        paramInfo.store(taken, std::memory_order_release);
        return;
    }
    paramInfo.store(taken, std::memory_order_release);
    for (int g = 0; g < current.groupCount(); ++g)
    {
        CAudioParamRequest request = requestFor(g, 0, current.elementCount(g));
        request.cut = true;
        request.values = current.values(g).data();
        request.items = &current.data();
        run(request, {});
    }
}

CAudioParamRequest CAudioParam::requestFor(int group, int firstElement, int elementCount) const noexcept
{
    const CAudioParamInfo& definition = info();
    CAudioParamRequest request;
    request.group = group;
    request.firstElement = firstElement;
    request.elementCount = elementCount;
    request.elementSize = definition.elementSize;
    request.type = definition.type;
    return request;
}

bool CAudioParam::prepare(CPrepared& prepared, const CAudioParamRequest& request) const
{
    const CAudioParamInfo* definition = paramInfo.load(std::memory_order_acquire);
    if (definition == nullptr || request.elementSize != definition->elementSize || request.type != definition->type)
        return false;
    CAudioParamRequest& fitted = prepared.request;
    fitted = request;
    fitted.param = const_cast<CAudioParam*>(this);
    fitted.isSingleGroup = definition->isSingleGroup;
    fitted.isSingleElement = definition->isSingleElement;
    if (fitted.firstElement < 0 || fitted.elementCount < 0 || (fitted.elementCount > 0 && fitted.values == nullptr))
        return false;
    if (fitted.isSingleGroup)
        fitted.group = 0;
    else if (fitted.group != allGroups && (fitted.group < 0 || fitted.group >= collector.groupCount()))
        return false;
    if (fitted.isSingleElement)
    {
        fitted.firstElement = 0;
        fitted.elementCount = std::min(fitted.elementCount, 1);
    }
    if (fitted.firstElement > CAudioParamStorage::maxElements)
        return false;
    fitted.elementCount = std::min(fitted.elementCount, CAudioParamStorage::maxElements - fitted.firstElement);

    const std::size_t size = static_cast<std::size_t>(fitted.elementSize);
    const std::size_t count = static_cast<std::size_t>(fitted.elementCount) * size;
    double* to = prepared.fewValues;
    if (count > CAudioParamPooledRecord::inlineValues)
    {
        prepared.manyValues.resize(count);
        to = prepared.manyValues.data();
    }
    for (std::size_t i = 0; i < count; ++i)
        to[i] = fitted.type == CAudioParamType::real ? definition->clamp(static_cast<int>(i % size), request.values[i])
                                                     : request.values[i];
    fitted.values = to;
    return true;
}

void CAudioParam::change(const CAudioParamRequest& request, CAudioParamUndoContext* undo)
{
    run(request, {undo});
}

void CAudioParam::storeDelivered(const CAudioParamRequest& request, std::uint64_t mark)
{
    run(request, {.mark = &mark});
}

bool CAudioParam::comesBehind(std::uint64_t mark) const
{
    return collector.queue->comesBehind(*this, mark);
}

std::uint64_t CAudioParam::deliver(const CAudioParamRequest& request)
{
    CPrepared prepared;
    if (request.type == CAudioParamType::real && prepare(prepared, request))
    {
        const CAudioParamRequest& fitted = prepared.request;
        collector.queue->deliverNow(*this, fitted, fitted.firstElement + fitted.elementCount, info());
    }
    return flushedTicket;
}

void CAudioParam::run(const CAudioParamRequest& request, const CManner& manner)
{
    CAudioParamChangeScope scope;
    CLockHolder hold(mutex);
    CPrepared prepared;
    if (isLocked || !prepare(prepared, request))
        return;
    const CAudioParamRequest& fitted = prepared.request;
    const CAudioParamInfo& definition = info();
    CAudioParamUndoContext* recorder = definition.isStorable || definition.isPersistent ? manner.undo : nullptr;
    if (recorder != nullptr)
        recorder->recordOld(*this, fitted);
    const int firstGroup = fitted.group == allGroups ? 0 : fitted.group;
    const int endGroup = fitted.group == allGroups ? current.groupCount() : fitted.group + 1;
    for (int g = firstGroup; g < endGroup; ++g)
        if (fitted.firstElement > current.elementCount(g))
            fillGap(g, fitted.firstElement, manner);
    store(fitted, manner, recorder);
}

// One element at a time, so that what follows the parameter sees nothing but ordinary small changes; a gap that no user
// makes goes at once, since each of its steps would cost all those before it. The change that comes behind the gap is
// recorded with all of it.
void CAudioParam::fillGap(int group, int firstElement, const CManner& manner)
{
    constexpr int mostSteps = 256;
    const int start = current.elementCount(group);
    if (firstElement - start > mostSteps)
    {
        CArray<double> values;
        for (int e = start; e < firstElement; ++e)
        {
            const std::span<const double> value = defaults.element(group, e);
            values.insert(values.end(), value.begin(), value.end());
        }
        CAudioParamRequest request = requestFor(group, start, firstElement - start);
        request.values = values.data();
        request.items = &defaults.data();
        CPrepared prepared;
        if (values.size() == static_cast<std::size_t>(request.elementCount * request.elementSize) &&
            prepare(prepared, request))
            store(prepared.request, manner, nullptr);
        return;
    }
    for (int e = start; e < firstElement; ++e)
    {
        CAudioParamRequest request = requestFor(group, e, 1);
        const std::span<const double> value = defaults.element(group, e);
        request.values = value.data();
        request.items = &defaults.data();
        CPrepared prepared;
        if (value.empty() || !prepare(prepared, request))
            return;
        store(prepared.request, manner, nullptr);
    }
}

void CAudioParam::store(const CAudioParamRequest& request, const CManner& manner, CAudioParamUndoContext* recorder)
{
    int touchedEnd = request.firstElement + request.elementCount;
    if (request.cut)
    {
        const int firstGroup = request.group == allGroups ? 0 : request.group;
        const int endGroup = request.group == allGroups ? current.groupCount() : request.group + 1;
        for (int g = firstGroup; g < endGroup; ++g)
            touchedEnd = std::max(touchedEnd, current.elementCount(g));
    }
    current.applyChange(request);
    ++sequence;
    if (recorder != nullptr)
        recorder->recordNew(*this, request);
    sendStored(request, touchedEnd, manner);
    runHooks(request, touchedEnd, manner.undo);
}

void CAudioParam::sendStored(const CAudioParamRequest& request, int touchedEnd, const CManner& manner)
{
    CAudioParamQueue& queue = *collector.queue;
    // Texts are copied to a listener when it is bound. Unheard, they need not travel, and the audio thread need not
    // hold on to them.
    if (request.type != CAudioParamType::real && bindingCount.load(std::memory_order_relaxed) == 0)
        return;
    if (manner.mark != nullptr)
        queue.settle(*this, request, touchedEnd, *manner.mark);
    else
        queue.send(*this, request, touchedEnd);
}

void CAudioParam::runHooks(const CAudioParamRequest& request, int touchedEnd, CAudioParamUndoContext* undo)
{
    if (selectionHook != nullptr)
        selectionHook->onParamChange(request, undo);
    if (!collector.changeHooks.empty())
        CAudioParamChangeScope::defer(
            [this, group = request.group, first = request.firstElement, touchedEnd]
            {
                for (CAudioParamCollectorHook* hook : collector.changeHooks)
                    hook->onParamChanged(*this, group, first, touchedEnd);
            });
    for (std::size_t i = 0; i < hooks.size(); ++i)
        hooks[i]->onParamChange(request, undo);
}

void CAudioParam::setValue(int group, int element, double value, CAudioParamUndoContext* undo)
{
    CAudioParamRequest request;
    request.group = group;
    request.firstElement = element;
    request.values = &value;
    run(request, {undo});
}

void CAudioParam::setText(int group, int element, const CStringBuf& text, CAudioParamUndoContext* undo)
{
    CAudioParamData table;
    const double id = table.add(new CAudioParamDataItemString(text));
    CAudioParamRequest request;
    request.group = group;
    request.firstElement = element;
    request.type = CAudioParamType::string;
    request.values = &id;
    request.items = &table;
    run(request, {undo});
}

void CAudioParam::write(const CAudioParamRequest& request, bool toDefaults, CAudioParamUndoContext* undo)
{
    if (!toDefaults)
        run(request, {undo});
    else if (!isLocked)
        defaults.applyChange(request);
}

void CAudioParam::reset(int group, int element, CAudioParamUndoContext* undo, bool isLast)
{
    CAudioParamChangeScope scope;
    CLockHolder hold(mutex);
    if (!hasInfo())
        return;
    if (group != allGroups || info().isSingleGroup)
    {
        resetGroup(info().isSingleGroup ? 0 : group, element, undo, isLast);
        return;
    }
    for (int g = 0; g < current.groupCount(); ++g)
        resetGroup(g, element, undo, isLast);
}

void CAudioParam::resetGroup(int group, int element, CAudioParamUndoContext* undo, bool isLast)
{
    const bool isWhole = element == everyIndex;
    CAudioParamRequest request = requestFor(group, isWhole ? 0 : element, isWhole ? defaults.elementCount(group) : 1);
    request.cut = isWhole || isLast;
    request.values = isWhole ? defaults.values(group).data() : defaults.element(group, element).data();
    request.items = &defaults.data();
    run(request, {undo});
}

double CAudioParam::getValue(int group, int element, int component) const
{
    CLockHolder hold(mutex);
    return current.getValue(group, element, component);
}

int CAudioParam::getElementCount(int group) const
{
    CLockHolder hold(mutex);
    return current.elementCount(group);
}

CStringBuf CAudioParam::getText(int group, int element) const
{
    CLockHolder hold(mutex);
    return current.getText(group, element);
}

void CAudioParam::addHook(CAudioParamChangeHook& hook)
{
    CLockHolder hold(mutex);
    hooks.push_back(&hook);
}

void CAudioParam::removeHook(CAudioParamChangeHook& hook)
{
    CLockHolder hold(mutex);
    std::erase(hooks, &hook);
}

void CAudioParam::setSelectionHook(CAudioParamChangeHook* hook)
{
    CLockHolder hold(mutex);
    selectionHook = hook;
}

void CAudioParam::linkName(CAudioParam& nameParam)
{
    CLockHolder hold(mutex);
    if (std::ranges::find(linkedNames, &nameParam) == linkedNames.end())
        linkedNames.push_back(&nameParam);
}

CArray<CAudioParam*> CAudioParam::nameParams() const
{
    CLockHolder hold(mutex);
    return linkedNames;
}

void CAudioParam::setLocked(bool locked)
{
    CLockHolder hold(mutex);
    isLocked = locked;
}

}
