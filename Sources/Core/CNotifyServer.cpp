// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CNotifyServer.h"

#include "Core/CObject.h"
#include "Core/CObjectEventBridge.h"

#include <algorithm>

namespace kor
{
namespace
{

// Trees by the id of their server. The lock is held over a post by id, so that the server stays until the post is
// queued; servers and bridge queues take only locks of their own below it.
struct CServerRegistry
{
    CLock lock{CLockRank::serverRegistry};
    CMap<int, CNotifyServer*> servers;
    int nextId = 0;
};

CServerRegistry& registry()
{
    static CServerRegistry& instance = *new CServerRegistry;
    return instance;
}

}

CNotifyServer::CNotifyServer()
{
    CServerRegistry& all = registry();
    const CLockHolder hold(all.lock);
    ownId = all.nextId++;
    all.servers[ownId] = this;
}

CNotifyServer::~CNotifyServer()
{
    CServerRegistry& all = registry();
    const CLockHolder hold(all.lock);
    all.servers.erase(ownId);
}

int CNotifyServer::takeObjectId()
{
    const CLockHolder hold(lock);
    return nextObjectId++;
}

void CNotifyServer::registerListener(const CStringBuf& senderFullName, const CStringBuf& eventName, CObject& listener,
                                     const CStringBuf& handlerName)
{
    const CObjectClassInfo::CEventEntry* handler = listener.classInfo->findEvent(handlerName);
    if (handler == nullptr)
        return;
    unregisterListener(senderFullName, eventName, listener);
    auto made = std::make_shared<CListener>();
    made->object = &listener;
    made->handler = handler;
    made->handlerName = handlerName;
    made->fullName = listener.fullName();
    made->objectId = listener.objectId();
    if (const CObject* owner = listener.nearestBridgeOwner())
    {
        made->threadId = owner->bridgeThreadId;
        made->bridge = owner->bridge;
    }
    const CLockHolder hold(lock);
    senders[senderFullName].events[eventName][made->objectId] = std::move(made);
}

void CNotifyServer::unregisterListener(const CStringBuf& senderFullName, const CStringBuf& eventName,
                                       const CObject& listener)
{
    const int id = listener.objectId();
    const CLockHolder hold(lock);
    const auto sender = senders.find(senderFullName);
    if (sender == senders.end())
        return;
    const auto event = sender->second.events.find(eventName);
    if (event != sender->second.events.end())
    {
        event->second.erase(id);
        if (event->second.empty())
            sender->second.events.erase(event);
    }
    const auto isListener = [id](const CListenerRef& entry) { return entry->objectId == id; };
    for (CDispatch* running = sender->second.dispatches; running != nullptr; running = running->outer)
        if (*running->eventName == eventName)
        {
            std::erase_if(running->waiting, isListener);
            std::erase_if(running->direct, isListener);
        }
    dropIfUnused(sender);
}

CError CNotifyServer::send(const CStringBuf& senderFullName, const CStringBuf& eventName, CAttrMap& params,
                           bool forceQueue)
{
    CDispatch record{&eventName, {}, {}, nullptr};
    CSenders::iterator sender;
    {
        const CLockHolder hold(lock);
        sender = senders.find(senderFullName);
        if (sender == senders.end())
            return {};
        params["sender"].setPlainString(senderFullName);
        params["event-name"].setPlainString(eventName);
        const auto event = sender->second.events.find(eventName);
        if (event == sender->second.events.end())
            return {};
        for (const auto& [id, listener] : event->second)
            record.waiting.push_back(listener);
        std::reverse(record.waiting.begin(), record.waiting.end());
        record.outer = sender->second.dispatches;
        sender->second.dispatches = &record;
    }
    CError failure = dispatch(record, params, forceQueue);
    endDispatch(sender, record);
    KOR_TRY(std::move(failure));
    return {};
}

CError CNotifyServer::send(int serverId, const CStringBuf& senderFullName, const CStringBuf& eventName,
                           CAttrMap& params)
{
    CServerRegistry& all = registry();
    const CLockHolder hold(all.lock);
    const auto found = all.servers.find(serverId);
    if (found == all.servers.end())
        return {};
    KOR_TRY(found->second->send(senderFullName, eventName, params, true));
    return {};
}

CError CNotifyServer::dispatch(CDispatch& record, CAttrMap& params, bool forceQueue)
{
    const std::thread::id self = std::this_thread::get_id();
    while (const CListenerRef listener = takeNext(record.waiting))
    {
        if (listener->bridge == nullptr)
            continue;
        if (!forceQueue && listener->threadId == self)
        {
            const CLockHolder hold(lock);
            record.direct.push_back(listener);
            continue;
        }
        params["listener"].setPlainString(listener->fullName);
        params["listener-id"].setInt(listener->objectId);
        params["listener-proc"].setPlainString(listener->handlerName);
        KOR_TRY(listener->bridge->post(params));
    }
    {
        const CLockHolder hold(lock);
        std::reverse(record.direct.begin(), record.direct.end());
    }
    // The listeners left here are alive: they are of this thread, and the destruction of one withdraws it.
    while (const CListenerRef listener = takeNext(record.direct))
    {
        if (listener->handler->withParams != nullptr)
            KOR_TRY(listener->handler->withParams(*listener->object, params));
        else
            KOR_TRY(listener->handler->plain(*listener->object));
    }
    return {};
}

CNotifyServer::CListenerRef CNotifyServer::takeNext(CArray<CListenerRef>& list)
{
    const CLockHolder hold(lock);
    if (list.empty())
        return nullptr;
    CListenerRef next = std::move(list.back());
    list.pop_back();
    return next;
}

void CNotifyServer::endDispatch(CSenders::iterator sender, CDispatch& record)
{
    const CLockHolder hold(lock);
    CDispatch** link = &sender->second.dispatches;
    while (*link != &record)
        link = &(*link)->outer;
    *link = record.outer;
    dropIfUnused(sender);
}

void CNotifyServer::dropIfUnused(CSenders::iterator sender)
{
    if (sender->second.events.empty() && sender->second.dispatches == nullptr)
        senders.erase(sender);
}

}
