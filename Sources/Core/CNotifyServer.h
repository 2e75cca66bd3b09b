// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CObjectClassInfo.h"
#include "Platform/CLock.h"

#include <memory>
#include <thread>

namespace kor
{

class CObject;
class CObjectEventBridge;

// The meeting point of the events of one tree: who listens to which event of which sender, by the sender's name, and
// the ids of the tree's objects. It keeps by value all that a thread other than the tree's own needs of a listener.
// No lock is held while a handler runs. All servers of the process stand in a registry by their own id.
class CNotifyServer
{
public:
    CNotifyServer();
    ~CNotifyServer();
    CNotifyServer(const CNotifyServer&) = delete;
    CNotifyServer& operator=(const CNotifyServer&) = delete;

    int serverId() const noexcept { return ownId; }

    /// A new object id, from 0 upward, never given twice. Any thread.
    int takeObjectId();

    /// The handler of `listener` is called for each event `eventName` of the object with that full name, which need
    /// not exist. A second registration replaces the first. The tree's own thread.
    void registerListener(const CStringBuf& senderFullName, const CStringBuf& eventName, CObject& listener,
                          const CStringBuf& handlerName);

    /// Also takes the listener out of every dispatch of that event that has not reached it yet. The tree's own thread.
    void unregisterListener(const CStringBuf& senderFullName, const CStringBuf& eventName, const CObject& listener);

    /// Calls the listeners that the calling thread serves, in order of their ids, after posting to all others through
    /// their bridges; with forceQueue all are posted to. The first failure ends the dispatch. If anybody listens to
    /// the sender, `params` receives "sender" and "event-name"; see CObject::deliverPosted for what a post adds.
    /// Any thread.
    CError send(const CStringBuf& senderFullName, const CStringBuf& eventName, CAttrMap& params, bool forceQueue);

    /// Posts into a tree of which only the server's id is known; does nothing when that tree is gone. Any thread.
    static CError send(int serverId, const CStringBuf& senderFullName, const CStringBuf& eventName, CAttrMap& params);

private:
    struct CListener
    {
        CObject* object;                        // only for the tree's own thread
        const CObjectClassInfo::CEventEntry* handler;
        CStringBuf handlerName;
        CStringBuf fullName;
        int objectId;
        std::thread::id threadId;
        std::shared_ptr<CObjectEventBridge> bridge;
    };
    using CListenerRef = std::shared_ptr<const CListener>;

    /// One running send: the listeners it has not called yet.
    struct CDispatch
    {
        const CStringBuf* eventName;
        CArray<CListenerRef> waiting;           // last first, so that the next is at the back
        CArray<CListenerRef> direct;            // the same once turned round
        CDispatch* outer;
    };

    struct CSender
    {
        CMap<CStringBuf, CMap<int, CListenerRef>> events;
        CDispatch* dispatches = nullptr;        // of all threads, newest first
    };
    using CSenders = CMap<CStringBuf, CSender>;

    CError dispatch(CDispatch& record, CAttrMap& params, bool forceQueue);
    CListenerRef takeNext(CArray<CListenerRef>& list);
    void endDispatch(CSenders::iterator sender, CDispatch& record);
    void dropIfUnused(CSenders::iterator sender);

    CLock lock;
    CSenders senders;
    int nextObjectId = 0;
    int ownId = 0;
};

}
