// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CBridgedHandler.h"
#include "Core/CLog.h"
#include "Core/CNotifyServer.h"
#include "Core/CObject.h"

namespace kor
{

const CObject* CObject::nearestBridgeOwner() const noexcept
{
    for (const CObject* object = this; object != nullptr; object = object->parentObject)
        if (!object->noBridge && object->bridge != nullptr)
            return object;
    return nullptr;
}

void CObject::listenObject(const CStringBuf& sourceFullName, const CStringBuf& eventName, const CStringBuf& handlerName)
{
    if (classInfo == nullptr || classInfo->findEvent(handlerName) == nullptr)
    {
        CLog::write("Event handler '"_s + handlerName + "' not found in listenObject().", fullNameText);
        return;
    }
    if (server == nullptr)
        return;
    listenedSources[sourceFullName].insert_or_assign(eventName, handlerName);
    server->registerListener(sourceFullName, eventName, *this, handlerName);
}

void CObject::unlistenObject(const CStringBuf& sourceFullName, const CStringBuf& eventName)
{
    const auto source = listenedSources.find(sourceFullName);
    if (source == listenedSources.end() || source->second.erase(eventName) == 0)
        return;
    server->unregisterListener(sourceFullName, eventName, *this);
    if (source->second.empty())
        listenedSources.erase(source);
}

CError CObject::sendEvent(const CStringBuf& eventName, CAttrMap& params, bool forceQueue)
{
    if (server != nullptr)
        KOR_TRY(server->send(fullNameText, eventName, params, forceQueue));
    return {};
}

CError CObject::sendEvent(const CStringBuf& eventName)
{
    CAttrMap params;
    return sendEvent(eventName, params, false);
}

CError CObject::runEvent(const CStringBuf& eventName, CAttrMap& params)
{
    const CObjectClassInfo::CEventEntry* entry = classInfo != nullptr ? classInfo->findEvent(eventName) : nullptr;
    if (entry == nullptr)
        return KOR_FAIL("@korstr_CObject_runEvent_Unknown Unknown event '%1'.", eventName);
    if (entry->withParams != nullptr)
        KOR_TRY(entry->withParams(*this, params));
    else
        KOR_TRY(entry->plain(*this));
    return {};
}

CError CObject::runEvent(const CStringBuf& eventName)
{
    CAttrMap params;
    return runEvent(eventName, params);
}

CError CObject::runEventBridged(CObject& sender, const CStringBuf& handlerName, CAttrMap& params)
{
    const CObject* owner = nearestBridgeOwner();
    if (owner == nullptr)
        return {};
    addressPost(params, sender, handlerName);
    KOR_TRY(owner->bridge->post(params));
    return {};
}

CBridgedHandler CObject::bridgedHandler(const CStringBuf& handlerName) const
{
    const CObject* owner = nearestBridgeOwner();
    if (owner == nullptr)
        return {};
    CAttrMap params;
    addressPost(params, *this, handlerName);
    return CBridgedHandler(owner->bridge, std::move(params));
}

void CObject::addressPost(CAttrMap& params, const CObject& sender, const CStringBuf& handlerName) const
{
    params["sender"].setPlainString(sender.fullNameText);
    params["listener"].setPlainString(fullNameText);
    params["listener-id"].setInt(id);
    params["listener-proc"].setPlainString(handlerName);
}

CError CObject::releaseBridged()
{
    if (parentObject == nullptr)
        return {};
    CAttrMap params;
    params["sender-id"].setInt(id);
    KOR_TRY(parentObject->runEventBridged(*this, "release-child-bridged", params));
    return {};
}

CError CObject::releaseChildBridged(CAttrMap& params)
{
    CObject* child = findObject(params["sender"].asString());
    // By now the child may be gone and another may have its name.
    if (child != nullptr && child->parentObject == this && child->id == params["sender-id"].asInt())
        destroy(child);
    return {};
}

CError CObject::deliverPosted(CAttrMap& params)
{
    CObject* listener = findObject(params["listener"].asString());
    if (listener == nullptr || listener->id != params["listener-id"].asInt())
        return {};
    const CStringBuf handlerName = params["listener-proc"].asString();
    KOR_TRY(listener->runEvent(handlerName, params));
    return {};
}

}
