// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamCollector.h"

#include "Audio/Parameters/CAudioParamDef.h"
#include "Audio/Parameters/CAudioParamQueue.h"

#include <algorithm>

namespace kor
{

CAudioParamCollector::CAudioParamCollector() : queue(std::make_unique<CAudioParamQueue>()) {}

CAudioParamCollector::~CAudioParamCollector()
{
    for (const std::unique_ptr<CAudioParam>& param : params)
        queue->letGo(*param);
}

void CAudioParamCollector::setEnvironment(CAudioEnv& environment)
{
    queue->setEnvironment(&environment);
}

CAudioEnv* CAudioParamCollector::environment() const noexcept
{
    return queue->environment();
}

void CAudioParamCollector::setGroupCount(int count)
{
    groups = std::clamp(count, 1, maxGroupCount);
}

int CAudioParamCollector::groupCount() const noexcept
{
    return groups;
}

CAudioParam* CAudioParamCollector::findParam(const CStringBuf& fullName) const
{
    CLockHolder hold(namesLock);
    const auto found = paramsByName.find(fullName);
    return found != paramsByName.end() ? found->second : nullptr;
}

CAudioParam& CAudioParamCollector::create(const CStringBuf& fullName)
{
    return *params.emplace_back(std::make_unique<CAudioParam>(*this, fullName));
}

CAudioParam& CAudioParamCollector::getParam(const CStringBuf& fullName)
{
    CAudioParam* param = nullptr;
    {
        CLockHolder hold(namesLock);
        CAudioParam*& known = paramsByName[fullName];
        if (known != nullptr)
            return *known;
        known = param = &create(fullName);
    }
    tellHooks([&](CAudioParamCollectorHook& hook) { hook.onParamAdded(*param); });
    return *param;
}

CAudioParam& CAudioParamCollector::defineParam(const CStringBuf& fullName, const CAudioParamDef& definition)
{
    CAudioParam* param = nullptr;
    bool isNew = false;
    {
        CLockHolder hold(namesLock);
        CAudioParam*& plain = paramsByName[fullName];
        if (plain == nullptr)
        {
            plain = &create(fullName);
            isNew = true;
        }
        param = plain;
        if (param->claimedBy == nullptr)
            param->claimedBy = &definition;
        else if (param->claimedBy != &definition && !definition.info().isGlobal)
        {
            CAudioParam*& local = localParams[CLocalKey(fullName, &definition)];
            isNew = local == nullptr;
            if (isNew)
                local = &create(fullName);
            param = local;
        }
    }
    if (isNew)
        tellHooks([&](CAudioParamCollectorHook& hook) { hook.onParamAdded(*param); });
    const CAudioParamInfo* before = &param->info();
    param->define(definition);
    if (&param->info() != before)
        tellHooks([&](CAudioParamCollectorHook& hook) { hook.onParamDefined(*param); });
    return *param;
}

void CAudioParamCollector::forEachParam(const std::function<void(CAudioParam&)>& visit) const
{
    for (std::size_t i = 0;; ++i)
    {
        CAudioParam* param;
        {
            CLockHolder hold(namesLock);
            if (i >= params.size())
                return;
            param = params[i].get();
        }
        visit(*param);
    }
}

void CAudioParamCollector::addHook(CAudioParamCollectorHook& hook)
{
    hooks.push_back(&hook);
    if (hook.followsChanges())
        changeHooks.push_back(&hook);
}

void CAudioParamCollector::removeHook(CAudioParamCollectorHook& hook)
{
    std::erase(hooks, &hook);
    std::erase(changeHooks, &hook);
}

void CAudioParamCollector::collectorReady()
{
    tellHooks([](CAudioParamCollectorHook& hook) { hook.onCollectorReady(); });
}

bool CAudioParamCollector::flush()
{
    const bool any = queue->flush();
    if (follower)
        follower();
    return any;
}

double CAudioParamCollector::heardValue(CAudioParam& param, int group, int element)
{
    queue->drainAudible(param);
    return param.audible.getValue(group, element);
}

int CAudioParamCollector::heardCount(CAudioParam& param, int group)
{
    queue->drainAudible(param);
    return param.audible.elementCount(group);
}

void CAudioParamCollector::reserveHeard(CAudioParam& param, int elements)
{
    param.audible.reserve(elements);
}

void CAudioParamCollector::setFollower(std::function<void()> call)
{
    follower = std::move(call);
}

std::uint64_t CAudioParamCollector::deliveryCount() const noexcept
{
    return queue->deliveryCount();
}

std::uint64_t CAudioParamCollector::deliver(CAudioParam& param, const CAudioParamRequest& request)
{
    return param.deliver(request);
}

void CAudioParamCollector::reserveDelivered(int count)
{
    queue->reserveDelivered(count);
}

void CAudioParamBatch::submit()
{
    collector.queue->submit(*this);
}

}
