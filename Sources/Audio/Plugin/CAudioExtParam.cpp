// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CAudioExtParam.h"

#include "Audio/Converters/CAudioParamConverter.h"
#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Plugin/CAudioExtParamList.h"
#include "Audio/Plugin/CAudioHostCall.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace kor
{

namespace
{

constexpr int longestName = 7;
constexpr std::int64_t blockKeepsNs = 1000000000;   // how long a block's write outranks the host's other door

constexpr double withoutDefinition = 0.5;

// Rows that this thread is storing. What fills a gap in front of one is no later write to the rows in the gap.
thread_local int settling = 0;

std::int64_t nowNs() noexcept
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// Hosts keep values in single precision and send them back so.
bool isSame(double a, double b) noexcept
{
    return static_cast<float>(a) == static_cast<float>(b);
}

char16_t lower(char16_t c) noexcept
{
    return c >= 'A' && c <= 'Z' ? static_cast<char16_t>(c + ('a' - 'A')) : c;
}

bool endsWith(const CStringBuf& text, const CStringBuf& end) noexcept
{
    const int rest = text.length() - end.length();
    for (int i = 0; rest >= 0 && i < end.length(); ++i)
        if (lower(text[rest + i]) != lower(end[i]))
            return false;
    return rest >= 0;
}

// Without the unit at the end, if there is one.
CStringBuf withoutUnit(const CStringBuf& text, const CStringBuf& unit)
{
    return endsWith(text, unit) ? text.substr(0, text.length() - unit.length()).trimmed() : text;
}

}

void CAudioExtParam::initClass(CObjectClassInfo& info)
{
    CObject::initClass(info);
}

CError CAudioExtParam::init()
{
    KOR_TRY(CObject::init());
    KOR_TRY(findObjectByAttr(owner, "param-collector"));
    const CStringBuf& name = getAttrString("ext-name");
    if (name.length() > longestName)
        return KOR_FAIL("Externalized parameter name '%1' is too long", name);
    elementIndex = getAttrInt("element-index");
    groupIndex = getAttrInt("group");
    if (elementIndex < 0 || elementIndex >= CAudioDirectValue::elementLimit)
        return KOR_FAIL("Invalid element index %1 specified.", elementIndex);
    if (groupIndex < 0 || groupIndex >= CAudioParamCollector::maxGroupCount)
        return KOR_FAIL("Invalid group %1 specified.", groupIndex);
    const CStringBuf& paramName = getAttrString("param-name");
    if (paramName.isEmpty())
        return KOR_FAIL("Invalid parameter name specified.");
    shortName = name;
    target = &owner->getParam(paramName);
    direct.setUp(*owner, *target, groupIndex, elementIndex);
    {
        CLockHolder hold(target->lock());
        refresh();
        target->addHook(*this);
    }
    prepare();
    for (CObject* above = parent(); above != nullptr && list == nullptr; above = above->parent())
        list = dynamic_cast<CAudioExtParamList*>(above);
    if (list != nullptr)
        list->add(*this);
    return {};
}

void CAudioExtParam::uninit()
{
    if (list != nullptr)
        list->remove(*this);
    list = nullptr;
    if (target != nullptr)
        target->removeHook(*this);
    target = nullptr;
    teller.connect(nullptr, 0);
    CObject::uninit();
}

void CAudioExtParam::setBridge(CAudioExtParamHostBridge* hostBridge, int rowIndex)
{
    teller.connect(hostBridge, rowIndex);
}

void CAudioExtParam::refresh()
{
    CLockHolder hold(target->lock());
    if (target->hasInfo())
        cache.store(presentNormalized(), std::memory_order_relaxed);
}

double CAudioExtParam::presentNormalized() const
{
    const CAudioParamInfo& info = target->info();
    const double x = info.converter()->realToNormalised(info, 0, target->values().getValue(groupIndex, elementIndex));
    return x > 0.0 ? std::min(x, 1.0) : 0.0;
}

// The order counts: a write becomes settled only when the cache has followed.
double CAudioExtParam::getNormalized() const noexcept
{
    return direct.pendingOrder() != 0 ? direct.note() : cache.load(std::memory_order_relaxed);
}

bool CAudioExtParam::mustKeepValue() const
{
    const CAudioEnv* env = owner->environment();
    if (env == nullptr || !env->isProcessing.load(std::memory_order_relaxed))
        return false;
    const std::int64_t last = lastEventNs.load(std::memory_order_relaxed);
    return teller.isHeld() || (last != 0 && nowNs() - last < blockKeepsNs);
}

void CAudioExtParam::setNormalized(double value)
{
    if (std::isnan(value))
        return;
    value = std::clamp(value, 0.0, 1.0);
    if (mustKeepValue())
    {
        if (const double present = getNormalized(); !isSame(value, present))
            teller.show(present);
        return;
    }
    if (list != nullptr)
        list->settle();                             // all rows, since this one may fill a gap that others are in
    else
        settle();
    const CAudioHostCall ofHost;                    // what follows from the write is the host's doing as well
    CAudioParamChangeScope scope;
    CLockHolder hold(target->lock());
    if (isSame(value, getNormalized()))
        return;
    teller.cancel();
    cache.store(value, std::memory_order_relaxed);
    if (!target->hasInfo())
        return;
    const CAudioParamInfo& info = target->info();
    isOwnChange = true;
    target->setValue(groupIndex, elementIndex, info.converter()->normalisedToReal(info, 0, value));
    isOwnChange = false;
    direct.supersede();
}

bool CAudioExtParam::deliverNormalized(double value) noexcept
{
    if (std::isnan(value))
        return false;
    lastEventNs.store(nowNs(), std::memory_order_relaxed);
    value = std::clamp(value, 0.0, 1.0);
    if (isSame(value, getNormalized()) || !target->hasInfo())
        return false;
    const CAudioParamInfo& info = target->info();
    direct.deliver(info.converter()->normalisedToReal(info, 0, value), value);
    return true;
}

void CAudioExtParam::settle()
{
    constexpr int mostRounds = 4;                   // a host that never stops is followed at the next chance
    const CAudioHostCall ofHost;
    for (int round = 0; round < mostRounds && direct.pendingOrder() != 0; ++round)
    {
        CAudioParamChangeScope scope;
        CLockHolder hold(target->lock());
        isOwnChange = true;
        ++settling;
        const bool wasPending = direct.settle(&cache);
        --settling;
        isOwnChange = false;
        if (wasPending)
            teller.tell(cache.load(std::memory_order_relaxed), nullptr);
    }
}

bool CAudioExtParam::concerns(const CAudioParamRequest& request) const noexcept
{
    if (request.group != allGroups && !request.isSingleGroup && request.group != groupIndex)
        return false;
    if (request.isSingleElement)
        return true;
    return elementIndex >= request.firstElement &&
           (request.cut || elementIndex < request.firstElement + request.elementCount);
}

void CAudioExtParam::onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext* undo)
{
    if (isOwnChange || !concerns(request) || !target->hasInfo())
        return;
    const double before = getNormalized();
    const double value = presentNormalized();
    cache.store(value, std::memory_order_relaxed);
    // What a block wrote later than this is stored over it soon.
    const bool isLatest = settling > 0 ? direct.pendingOrder() == 0 : direct.supersede();
    if (isLatest && !isSame(value, before))
        teller.tell(value, undo);
}

double CAudioExtParam::getDefaultNormalized() const
{
    if (!target->hasInfo())
        return withoutDefinition;
    const CAudioParamInfo& info = target->info();
    CLockHolder hold(target->lock());
    const double value = target->defaultValues().getValue(groupIndex, elementIndex);
    return std::clamp(info.converter()->realToNormalised(info, 0, value), 0.0, 1.0);
}

CStringBuf CAudioExtParam::getUnit() const
{
    return target->hasInfo() ? target->info().converter()->label() : CStringBuf();
}

CStringBuf CAudioExtParam::getText(double normalized) const
{
    CStringBuf text;
    if (!target->hasInfo() || std::isnan(normalized))
        return text;
    const CAudioParamInfo& info = target->info();
    const CAudioParamConverter& converter = *info.converter();
    converter.format(text, info, 0, converter.normalisedToReal(info, 0, std::clamp(normalized, 0.0, 1.0)));
    return text;
}

bool CAudioExtParam::fromText(const CStringBuf& text, double& normalized) const
{
    if (!target->hasInfo())
    {
        normalized = withoutDefinition;
        return true;
    }
    const CAudioParamInfo& info = target->info();
    const CAudioParamConverter& converter = *info.converter();
    const CStringBuf typed = text.trimmed();
    bool ok = false;
    double real = converter.parse(info, 0, typed, ok);
    if (!ok)
        real = converter.parse(info, 0, withoutUnit(typed, converter.label()), ok);
    if (!ok)
    {
        // States that have no name share a text, and the last one is such a state.
        const CStringBuf last = getText(1.0);
        if (typed.length() != last.length() || !endsWith(typed, last))
            return false;
        normalized = 1.0;
        return true;
    }
    normalized = std::clamp(converter.realToNormalised(info, 0, real), 0.0, 1.0);
    return true;
}

}
