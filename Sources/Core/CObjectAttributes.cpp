// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CAttrExpansion.h"
#include "Core/CObject.h"
#include "Core/CTarget.h"

namespace kor
{
namespace
{

// A change that travels along live links recurses; this bounds the stack it may take.
constexpr int maxForwardDepth = 1000;
thread_local int forwardDepth = 0;

struct CForwardScope
{
    CForwardScope() noexcept { ++forwardDepth; }
    ~CForwardScope() { --forwardDepth; }
};

}

CStringBuf CObject::name() const
{
    return getAttrString("name");
}

const CAttrValue* CObject::findAttr(const CStringBuf& attrName) const
{
    const auto found = attrs.find(attrName);
    return found == attrs.end() ? nullptr : &found->second;
}

const CAttrValue* CObject::findInheritedAttr(const CStringBuf& attrName) const
{
    for (const CObject* object = this; object != nullptr; object = object->parentObject)
        if (const CAttrValue* value = object->findAttr(attrName))
            return value;
    return nullptr;
}

bool CObject::hasAttr(const CStringBuf& attrName) const
{
    return findAttr(attrName) != nullptr;
}

bool CObject::getAttrBool(const CStringBuf& attrName) const
{
    const CAttrValue* value = findAttr(attrName);
    return value != nullptr && value->asBool();
}

double CObject::getAttrDouble(const CStringBuf& attrName) const
{
    const CAttrValue* value = findAttr(attrName);
    return value != nullptr ? value->asDouble() : 0.0;
}

int CObject::getAttrInt(const CStringBuf& attrName) const
{
    const CAttrValue* value = findAttr(attrName);
    return value != nullptr ? value->asInt() : 0;
}

const CStringBuf& CObject::getAttrString(const CStringBuf& attrName) const
{
    const CAttrValue* value = findAttr(attrName);
    return value != nullptr ? value->asString() : gEmptyString;
}

CError CObject::setAttrString(const CStringBuf& attrName, const CStringBuf& text, bool runHandler)
{
    if (refusesChanges() || attrName.isEmpty())
        return {};
    if (text.findChar(u'{') < 0)
    {
        CAttrValue& value = attrs[attrName];
        value.setString(text);
        return valueStored(attrName, value, runHandler);
    }
    // The expansion comes first, so that it sees what stood here before.
    CAttrExpansion expansion(*this, attrName);
    CStringBuf expanded;
    expansion.expand(expanded, text);
    CAttrValue& value = attrs[attrName];
    if (expansion.tookPlainText())
        value.setPlainString(expanded);
    else
        value.setString(expanded);
    return valueStored(attrName, value, runHandler);
}

CError CObject::setAttr(const CStringBuf& attrName, const CAttrValue& newValue, bool runHandler)
{
    if (newValue.type() == CAttrValue::Type::string && !newValue.isPlainText())
        return setAttrString(attrName, newValue.asString(), runHandler);
    if (refusesChanges() || attrName.isEmpty())
        return {};
    CAttrValue& value = attrs[attrName];
    value.setValue(newValue);
    return valueStored(attrName, value, runHandler);
}

CError CObject::setAttrPlain(const CStringBuf& attrName, const CStringBuf& text, bool runHandler)
{
    if (refusesChanges() || attrName.isEmpty())
        return {};
    CAttrValue& value = attrs[attrName];
    value.setPlainString(text);
    return valueStored(attrName, value, runHandler);
}

CError CObject::setAttrs(const CAttrMap& map, bool runPending)
{
    for (const auto& [attrName, value] : map)
        KOR_TRY(setAttr(attrName, value, false));
    if (runPending)
        KOR_TRY(runPendingAttrs());
    return {};
}

CError CObject::applyTreeAttr(const CStringBuf& attrName, const CStringBuf& text, bool mayExpand)
{
    if (mayExpand)
        return setAttrString(attrName, text, false);
    if (refusesChanges() || attrName.isEmpty())
        return {};
    CAttrValue& value = attrs[attrName];
    value.setString(text);
    return valueStored(attrName, value, false);
}

CError CObject::valueStored(const CStringBuf& attrName, CAttrValue& value, bool runHandler)
{
    if ((value.flags & CAttrValue::handlerFound) == 0 && classInfo != nullptr)
    {
        value.handler = classInfo->findAttr(attrName);
        if (value.handler != nullptr)
            value.flags |= CAttrValue::handlerFound;
    }
    const bool hasHandler = (value.flags & CAttrValue::handlerFound) != 0;
    if (hasHandler && !runHandler && (value.flags & CAttrValue::isPending) == 0)
    {
        value.flags |= CAttrValue::isPending;
        value.nextPending = pendingAttrs;
        pendingAttrs = &value;
    }
    const bool callsHandler = hasHandler && runHandler;
    if (!callsHandler && attrDependents.empty())
        return {};

    // A change that comes back along a ring of links ends at the value that is being set.
    const bool wasBeingSet = (value.flags & CAttrValue::isBeingSet) != 0;
    value.flags |= CAttrValue::isBeingSet;
    CError failure;
    if (callsHandler)
        failure = value.handler(*this, value);
    if (!failure)
        failure = forward(attrName, value);
    if (!wasBeingSet)
        value.flags &= static_cast<std::uint8_t>(~CAttrValue::isBeingSet);
    KOR_TRY(std::move(failure));
    return {};
}

CError CObject::forward(const CStringBuf& attrName, CAttrValue& value)
{
    if (attrDependents.empty())
        return {};
    if (forwardDepth >= maxForwardDepth)
        return KOR_FAIL("@korstr_CObject_forward_Depth Attribute '%1' is linked through too many objects.", attrName);
    const CForwardScope scope;

    // The handlers of a dependent may end links and objects, so each step looks its dependent up again.
    CArray<std::uint64_t> snapshot;
    snapshot.reserve(attrDependents.size());
    for (const auto& [order, dependent] : attrDependents)
        snapshot.push_back(order);
    for (const std::uint64_t order : snapshot)
    {
        const auto found = attrDependents.find(order);
        if (found == attrDependents.end())
            continue;
        CObject& object = *found->second.object;
        if (found->second.attrs.empty())
        {
            KOR_TRY(object.onSourceAttrChanged(*this, attrName, value));
            continue;
        }
        const auto mapped = found->second.attrs.find(attrName);
        if (mapped == found->second.attrs.end())
            continue;
        const CStringBuf mappedName = mapped->second;
        const CAttrValue* target = object.findAttr(mappedName);
        if (target != nullptr && (target->flags & CAttrValue::isBeingSet) != 0)
            continue;
        KOR_TRY(object.onSourceAttrChanged(*this, mappedName, value));
    }
    return {};
}

CError CObject::onSourceAttrChanged(CObject&, const CStringBuf& attrName, CAttrValue& value)
{
    if (refusesChanges() || attrName.isEmpty())
        return {};
    CAttrValue& own = attrs[attrName];
    own.setValue(value);        // expanded already, in the source's place
    return valueStored(attrName, own, true);
}

CError CObject::runPendingAttrs()
{
    if (refusesChanges())
        return {};
    CAttrValue* next = pendingAttrs;
    pendingAttrs = nullptr;
    CError failure;
    while (next != nullptr)
    {
        CAttrValue& value = *next;
        next = value.nextPending;
        value.nextPending = nullptr;
        value.flags &= static_cast<std::uint8_t>(~CAttrValue::isPending);
        if (!failure && (value.flags & CAttrValue::handlerFound) != 0)
            failure = value.handler(*this, value);
    }
    KOR_TRY(std::move(failure));
    return {};
}

void CObject::linkAttr(CObject& source, const CStringBuf& sourceAttr, const CStringBuf& ownAttr)
{
    CDependent& entry = source.attrDependents[creationOrder];
    entry.object = this;
    entry.attrs.insert_or_assign(sourceAttr, ownAttr);
    attrSources.insert(&source);
}

void CObject::followAllAttrs(CObject& source)
{
    if (&source == this || source.frozen)
        return;
    CDependent& entry = source.attrDependents[creationOrder];
    entry.object = this;
    entry.attrs.clear();
    attrSources.insert(&source);
}

void CObject::unfollow(CObject& source)
{
    source.attrDependents.erase(creationOrder);
    attrSources.erase(&source);
}

void CObject::withdrawLinks()
{
    for (CObject* source : attrSources)
        source->attrDependents.erase(creationOrder);
    attrSources.clear();
    for (const auto& [order, dependent] : attrDependents)
        dependent.object->attrSources.erase(this);
    attrDependents.clear();
    for (CTargetBase* follower = followers; follower != nullptr; follower = follower->nextOfSource)
        follower->source = nullptr;
    followers = nullptr;
}

CObject* CObject::findNearestNamed(const CStringBuf& baseName)
{
    for (CObject* object = this; object != nullptr; object = object->parentObject)
    {
        const auto named = object->childrenByName.find(baseName);
        if (named == object->childrenByName.end())
            continue;
        const std::span<const CIndexedChild> all = named->second.all();
        if (!all.empty())
            return all.front().object;
    }
    return nullptr;
}

}
