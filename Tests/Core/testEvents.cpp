// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/CTestTree.h"

#include "Core/CLog.h"
#include "Core/CNotifyServer.h"
#include "Core/CObjectEventBridge.h"
#include "Platform/CLock.h"

#include <deque>
#include <thread>

namespace kor::test
{
namespace
{

class CTestBridge : public CObjectEventBridge
{
public:
    CError post(const CAttrMap& params) override
    {
        if (isBroken)
            return KOR_FAIL("Post failed.");
        const CLockHolder hold(lock);
        posts.push_back(params);
        return {};
    }

    CLock lock;
    std::deque<CAttrMap> posts;
    bool isBroken = false;
};

/// Serves its subtree on the thread that made it.
class COwner : public CObject
{
public:
    CError init() override
    {
        KOR_TRY(CObject::init());
        queue = std::make_shared<CTestBridge>();
        bridge = queue;
        bridgeThreadId = std::this_thread::get_id();
        noBridge = false;
        return {};
    }

    int deliverAll()
    {
        int count = 0;
        for (; !queue->posts.empty(); ++count)
        {
            CAttrMap params = std::move(queue->posts.front());
            queue->posts.pop_front();
            EXPECT_TRUE(succeeded(deliverPosted(params)));
        }
        return count;
    }

    void serveOtherThread() { bridgeThreadId = std::thread::id(); }

    std::shared_ptr<CTestBridge> queue;
};

class CListening : public CObject
{
public:
    static void initClass(CObjectClassInfo& info)
    {
        CObject::initClass(info);
        info.addEvent("plain", eventMethod<&CListening::onPlain>);
        info.addEvent("with-params", eventMethod<&CListening::onParams>);
        info.addEvent("remove", eventMethod<&CListening::onRemove>);
        info.addEvent("refuse", eventMethod<&CListening::onRefuse>);
        info.addEvent("close", eventMethod<&CListening::onClose>);
    }

    ~CListening() override { log += "~" + id + " "; }
    CError init() override
    {
        KOR_TRY(CObject::init());
        id = name().toUtf8();
        return {};
    }
    CError onPlain()
    {
        log += id + " ";
        return {};
    }
    CError onParams(CAttrMap& params)
    {
        log += id + "(" + params["sender"].asString().toUtf8() + "." + params["event-name"].asString().toUtf8() +
               " x=" + params["x"].asString().toUtf8() + ") ";
        return {};
    }
    CError onRemove()
    {
        log += id + "! ";
        destroy(findObject(getAttrString("victim")));
        return {};
    }
    CError onRefuse() { return KOR_FAIL("Refused."); }
    CError onClose() { return releaseBridged(); }

    std::string id;
    static inline std::string log;
};

class Events : public testing::Test
{
protected:
    Events()
    {
        addTestType(creatorRow<COwner>("test:owner"));
        addTestType(creatorRow<CListening>("test:listening"));
        CListening::log.clear();
    }

    static std::string taken() { return std::exchange(CListening::log, {}); }

    static CObject& add(CObject& parent, const char* tag, const char* name)
    {
        CObject* made = nullptr;
        EXPECT_TRUE(succeeded(parent.createChild(made, tag, name, false)));
        return *made;
    }
};

}

TEST_F(Events, RunByName)
{
    CTestTree tree;
    CObject& object = add(tree.root(), "test:listening", "l");
    EXPECT_TRUE(succeeded(object.runEvent("plain")));
    CAttrMap params;
    params["x"].setInt(3);
    EXPECT_TRUE(succeeded(object.runEvent("with-params", params)));
    EXPECT_TRUE(succeeded(object.runEvent("plain", params)));
    EXPECT_TRUE(succeeded(object.runEvent("with-params")));
    EXPECT_EQ(taken(), "l l(. x=3) l l(. x=) ");
    EXPECT_EQ(object.runEvent("nothing").message(), "Unknown event 'nothing'.");
    EXPECT_TRUE(succeeded(tree.root().runEvent("release-child-bridged")));
}

TEST_F(Events, ReachListenersInOrderOfCreation)
{
    CTestTree tree;
    auto& owner = static_cast<COwner&>(add(tree.root(), "test:owner", "ui"));
    CObject& c = add(owner, "test:listening", "c");
    CObject& a = add(owner, "test:listening", "a");
    CObject& unserved = add(tree.root(), "test:listening", "unserved");
    // The source need not exist yet.
    a.listenObject("s", "e", "with-params");
    c.listenObject("s", "e", "plain");
    unserved.listenObject("s", "e", "plain");
    CObject& source = add(tree.root(), "core:object", "s");
    CAttrMap params;
    params["x"].setInt(1);
    EXPECT_TRUE(succeeded(source.sendEvent("e", params)));
    EXPECT_EQ(taken(), "c a(s.e x=1) ");
    EXPECT_TRUE(succeeded(source.sendEvent("other", params)));
    EXPECT_EQ(params["event-name"].asString(), "other"_s);
    EXPECT_EQ(taken(), "");
    CAttrMap untouched;
    EXPECT_TRUE(succeeded(a.sendEvent("e", untouched)));
    EXPECT_TRUE(untouched.empty());

    a.listenObject("s", "e", "plain");      // replaces
    c.unlistenObject("s", "e");
    EXPECT_TRUE(succeeded(source.sendEvent("e")));
    EXPECT_EQ(taken(), "a ");
    CObject::destroy(&a);
    taken();
    EXPECT_TRUE(succeeded(source.sendEvent("e")));
    EXPECT_EQ(taken(), "");
}

TEST_F(Events, ListenerRemovedDuringADispatchIsNotCalled)
{
    CTestTree tree;
    CObject& owner = add(tree.root(), "test:owner", "ui");
    CObject& killer = add(owner, "test:listening", "killer");
    for (const char* name : {"b", "c"})
        add(owner, "test:listening", name).listenObject("s", "e", "plain");
    killer.listenObject("s", "e", "remove");
    EXPECT_TRUE(succeeded(killer.setAttrString("victim", "ui.b", true)));
    CObject& source = add(tree.root(), "core:object", "s");
    EXPECT_TRUE(succeeded(source.sendEvent("e")));
    EXPECT_EQ(taken(), "killer! ~b c ");
    EXPECT_TRUE(succeeded(source.sendEvent("e")));
    EXPECT_EQ(taken(), "killer! c ");
}

TEST_F(Events, FailureEndsTheDispatch)
{
    CTestTree tree;
    auto& owner = static_cast<COwner&>(add(tree.root(), "test:owner", "ui"));
    add(owner, "test:listening", "a").listenObject("s", "e", "plain");
    add(owner, "test:listening", "b").listenObject("s", "e", "refuse");
    add(owner, "test:listening", "c").listenObject("s", "e", "plain");
    CObject& source = add(tree.root(), "core:object", "s");
    EXPECT_EQ(source.sendEvent("e").message(), "Refused.");
    EXPECT_EQ(taken(), "a ");
    owner.queue->isBroken = true;
    CAttrMap params;
    EXPECT_EQ(source.sendEvent("e", params, true).message(), "Post failed.");
    owner.queue->isBroken = false;
    // A dispatch that failed is over: listeners can go, and the next one starts afresh.
    CObject::destroy(tree.find("ui.b"));
    taken();
    EXPECT_TRUE(succeeded(source.sendEvent("e")));
    EXPECT_EQ(taken(), "a c ");
}

TEST_F(Events, ForcedOrForeignOnesArePosted)
{
    CTestTree tree;
    auto& owner = static_cast<COwner&>(add(tree.root(), "test:owner", "ui"));
    CObject& listener = add(owner, "test:listening", "l");
    listener.listenObject("s", "e", "with-params");
    CObject& source = add(tree.root(), "core:object", "s");
    CAttrMap params;
    params["x"].setInt(1);
    EXPECT_TRUE(succeeded(source.sendEvent("e", params, true)));
    params["x"].setInt(2);      // the post has a copy of its own
    EXPECT_EQ(taken(), "");
    EXPECT_EQ(owner.deliverAll(), 1);
    EXPECT_EQ(taken(), "l(s.e x=1) ");

    std::thread([&source] { EXPECT_TRUE(succeeded(source.sendEvent("e"))); }).join();
    EXPECT_EQ(taken(), "");
    EXPECT_EQ(owner.deliverAll(), 1);
    EXPECT_EQ(taken(), "l(s.e x=) ");

    const int serverId = tree.root().notifyServer()->serverId();
    std::thread([serverId]
    {
        CAttrMap post;
        EXPECT_TRUE(succeeded(CNotifyServer::send(serverId, "s", "e", post)));
        EXPECT_TRUE(succeeded(CNotifyServer::send(serverId + 1, "s", "e", post)));
    }).join();
    EXPECT_EQ(owner.deliverAll(), 1);

    CAttrMap direct;
    EXPECT_TRUE(succeeded(listener.runEventBridged(source, "plain", direct)));
    EXPECT_TRUE(succeeded(source.runEventBridged(listener, "release-child-bridged", direct)));    // nobody serves s
    taken();
    EXPECT_EQ(owner.deliverAll(), 1);
    EXPECT_EQ(taken(), "l ");
}

TEST_F(Events, PostToAnObjectThatWasReplacedIsDropped)
{
    CTestTree tree;
    auto& owner = static_cast<COwner&>(add(tree.root(), "test:owner", "ui"));
    add(owner, "test:listening", "l").listenObject("s", "e", "plain");
    CObject& source = add(tree.root(), "core:object", "s");
    CAttrMap params;
    EXPECT_TRUE(succeeded(source.sendEvent("e", params, true)));
    EXPECT_TRUE(succeeded(source.sendEvent("e", params, true)));
    CObject::destroy(tree.find("ui.l"));
    taken();
    CAttrMap first = owner.queue->posts.front();
    owner.queue->posts.pop_front();
    EXPECT_TRUE(succeeded(owner.deliverPosted(first)));
    add(owner, "test:listening", "l");
    ASSERT_EQ(tree.find("ui.l")->fullName(), "ui.l"_s);
    EXPECT_EQ(owner.deliverAll(), 1);
    EXPECT_EQ(taken(), "");
}

TEST_F(Events, ObjectReleasesItselfThroughItsParent)
{
    CTestTree tree;
    auto& owner = static_cast<COwner&>(add(tree.root(), "test:owner", "ui"));
    CObject& window = add(owner, "test:listening", "w");
    EXPECT_TRUE(succeeded(window.runEvent("close")));
    EXPECT_TRUE(succeeded(window.runEvent("close")));
    EXPECT_EQ(tree.find("ui.w"), &window);
    CAttrMap first = owner.queue->posts.front();
    owner.queue->posts.pop_front();
    EXPECT_TRUE(succeeded(owner.deliverPosted(first)));
    EXPECT_EQ(tree.find("ui.w"), nullptr);
    EXPECT_EQ(taken(), "~w ");
    // The second request meets another object of the same name, which stays.
    add(owner, "test:listening", "w");
    ASSERT_EQ(tree.find("ui.w")->fullName(), "ui.w"_s);
    EXPECT_EQ(owner.deliverAll(), 1);
    EXPECT_NE(tree.find("ui.w"), nullptr);
}

TEST_F(Events, UnknownHandlerIsLoggedOnly)
{
    struct CLine : CLogListener
    {
        void onLogLine(const CStringBuf& line) override { text = line.toUtf8(); }
        std::string text;
    };
    CTestTree tree;
    CObject& listener = add(tree.root(), "test:listening", "l");
    CLine log;
    CLog::setListener(&log);
    listener.listenObject("s", "e", "no-handler");
    CLog::setListener(nullptr);
    EXPECT_EQ(log.text, "Event handler 'no-handler' not found in listenObject(). // l");
}

TEST_F(Events, SendersOfManyThreadsMeetListenersThatComeAndGo)
{
    CTestTree tree;
    auto& owner = static_cast<COwner&>(add(tree.root(), "test:owner", "ui"));
    owner.serveOtherThread();
    CNotifyServer& server = *tree.root().notifyServer();
    std::atomic<bool> stop{false};
    std::vector<std::thread> senders;
    for (int i = 0; i < 3; ++i)
        senders.emplace_back([&server, &stop, i]
        {
            CAttrMap params;
            while (!stop)
                if (i == 0)
                    EXPECT_TRUE(succeeded(CNotifyServer::send(server.serverId(), "s", "e", params)));
                else
                    EXPECT_TRUE(succeeded(server.send("s", "e", params, false)));
        });
    for (int round = 0; round < 300; ++round)
    {
        CObject& listener = add(owner, "test:listening", "l");
        listener.listenObject("s", "e", "plain");
        std::this_thread::yield();
        CObject::destroy(&listener);
    }
    stop = true;
    for (std::thread& sender : senders)
        sender.join();
    taken();
    // Every post is for an object that is gone.
    owner.deliverAll();
    EXPECT_EQ(taken(), "");
}

}
