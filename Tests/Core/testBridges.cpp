// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CBridge.h"

#include "Core/CLog.h"
#include "Core/CTarget.h"
#include "Core/CoreCreators.h"
#include "Support/CTestTree.h"

#include <thread>

namespace kor::test
{
namespace
{

class CSource : public CBridgeBase
{
public:
    ~CSource() override { leaveBridges(); }
    int getBridgeKey(const CStringBuf& argument) override { return argument.length(); }
};

class CObserver : public CBridge
{
public:
    explicit CObserver(std::string& calls, std::string observerId = "") : log(calls), id(std::move(observerId)) {}
    ~CObserver() override { detach(); }

    CError onBridgeChange(const CStringBuf& argument) override
    {
        log += id + argument.toUtf8() + " ";
        if (isRefusing)
            return KOR_FAIL("Refused.");
        return {};
    }

    bool isRefusing = false;

private:
    std::string& log;
    const std::string id;
};

bool isLongRun()
{
    return std::getenv("MORVA_LONG") != nullptr;
}

}

TEST(Bridges, AreToldByKeyButTheExcludedOne)
{
    CSource source;
    std::string log;
    CObserver a(log, "a:");
    CObserver b(log, "b:");
    CObserver none(log, "none:");
    EXPECT_TRUE(b.attach(&source, "xx"));
    EXPECT_TRUE(a.attach(&source, "yy"));
    EXPECT_TRUE(none.attach(&source, ""));
    source.notifyBridges("zz");
    source.notifyBridges("zz", &a);
    source.notifyBridges("zzz");
    source.notifyBridges("");
    EXPECT_EQ(log, "b:zz a:zz b:zz none: ");

    EXPECT_TRUE(b.attach(&source, "zzz"));      // leaves its former key
    a.detach();
    a.detach();
    log.clear();
    source.notifyBridges("zz");
    source.notifyBridges("zzz");
    EXPECT_EQ(log, "b:zzz ");
}

TEST(Bridges, CanBeObservedThemselves)
{
    std::string log;
    CSource source;
    CObserver middle(log, "middle:");
    CObserver end(log, "end:");
    EXPECT_TRUE(middle.attach(&source, "x"));
    EXPECT_TRUE(end.attach(&middle, ""));
    middle.notifyBridges("");
    EXPECT_EQ(log, "end: ");
}

TEST(Bridges, DetachFromADeadSourceWithoutTouchingIt)
{
    std::string log;
    CObserver a(log);
    auto source = std::make_unique<CSource>();
    EXPECT_TRUE(a.attach(source.get(), "x"));
    const std::atomic<CBridgeBase*> address = source.get();
    source.reset();
    EXPECT_FALSE(a.isAttached());
    a.detach();
    EXPECT_FALSE(a.attach(address, "x"));
    EXPECT_FALSE(a.isAttached());
    EXPECT_EQ(log, "");
}

TEST(Bridges, FailureOfOneIsLoggedAndTheOthersAreTold)
{
    struct CLines : CLogListener
    {
        void onLogLine(const CStringBuf& line) override { text += line.toUtf8(); }
        std::string text;
    };
    CSource source;
    std::string log;
    CObserver a(log, "a");
    CObserver b(log, "b");
    a.isRefusing = true;
    EXPECT_TRUE(a.attach(&source, ""));
    EXPECT_TRUE(b.attach(&source, ""));
    CLines lines;
    CLog::setListener(&lines);
    source.notifyBridges("");
    CLog::setListener(nullptr);
    EXPECT_EQ(log, "a b ");
    EXPECT_NE(lines.text.find("Refused."), std::string::npos) << lines.text;
}

// Sources on one thread, bridges to them on two others; who dies first is left to chance. A bridge that touched a dead
// source, or a call that came after detach, would be seen by the sanitizers and by the flag.
TEST(Bridges, SourcesAndObserversDieOnDifferentThreads)
{
    class CChecked : public CBridge
    {
    public:
        ~CChecked() override { detach(); }
        CError onBridgeChange(const CStringBuf&) override
        {
            EXPECT_TRUE(mayBeCalled);
            ++calls;
            return {};
        }
        bool mayBeCalled = false;               // written while it is detached
        int calls = 0;
    };
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(isLongRun() ? 10000 : 200);
    constexpr int placeCount = 4;
    std::atomic<CBridgeBase*> places[placeCount] = {};
    std::atomic<bool> stop{false};
    std::thread sources([&]
    {
        std::mt19937 random(1);
        std::unique_ptr<CSource> owned[placeCount];
        while (std::chrono::steady_clock::now() < end)
        {
            const unsigned i = random() % placeCount;
            if (owned[i] != nullptr)
                owned[i]->notifyBridges("");
            if (random() % 3 != 0)
                continue;
            owned[i] = std::make_unique<CSource>();     // the old one dies unannounced
            places[i] = owned[i].get();
        }
        stop = true;
    });
    std::vector<std::thread> observers;
    std::atomic<int> calls{0};
    std::atomic<int> attached{0};
    for (unsigned seed = 2; seed <= 3; ++seed)
        observers.emplace_back([&, seed]
        {
            std::mt19937 random(seed);
            while (!stop)
            {
                CChecked bridge;
                for (int step = 0; step < 3; ++step)
                {
                    bridge.mayBeCalled = true;
                    attached += bridge.attach(places[random() % placeCount], "") ? 1 : 0;
                    if (random() % 2 == 0)
                        std::this_thread::yield();
                    bridge.detach();
                    bridge.mayBeCalled = false;
                }
                calls += bridge.calls;
            }
        });
    sources.join();
    for (std::thread& observer : observers)
        observer.join();
    EXPECT_GT(attached, 0);
    EXPECT_GT(calls, 0);
}

// A thread that asks the source for a key holds the source's place in the table; a detach and the source's end wait for
// it and then follow each other at once, mostly the end first.
TEST(Bridges, DetachAndTheEndOfTheSourceTakeTurns)
{
    class CGated : public CBridgeBase
    {
    public:
        CGated(std::atomic<bool>& inside, std::atomic<bool>& open) : isInside(inside), isOpen(open) {}
        ~CGated() override { leaveBridges(); }
        int getBridgeKey(const CStringBuf&) override
        {
            isInside = true;
            while (!isOpen)
                std::this_thread::yield();
            return 1;
        }

    private:
        std::atomic<bool>& isInside;
        std::atomic<bool>& isOpen;
    };
    const auto letOthersRun = [] { std::this_thread::sleep_for(std::chrono::milliseconds(2)); };
    std::string log;
    for (int round = 0; round < 20; ++round)
    {
        std::atomic<bool> isInside{false};
        std::atomic<bool> isOpen{false};
        std::atomic<bool> isDetached{false};
        auto source = std::make_unique<CGated>(isInside, isOpen);
        CObserver observer(log);
        CObserver second(log);
        EXPECT_TRUE(observer.attach(source.get(), ""));
        std::thread attaching([&, address = source.get()] { EXPECT_TRUE(second.attach(address, "x")); });
        while (!isInside)
            std::this_thread::yield();
        std::thread ending([&] { source.reset(); });
        letOthersRun();
        std::thread detaching([&]
        {
            observer.detach();
            isDetached = true;
        });
        letOthersRun();
        EXPECT_FALSE(isDetached);
        isOpen = true;
        attaching.join();
        detaching.join();
        ending.join();
        EXPECT_FALSE(observer.isAttached() || second.isAttached());
    }
}

namespace
{

class CFollower : public CObject
{
public:
    static void initClass(CObjectClassInfo& info)
    {
        CObject::initClass(info);
        info.addEvent("seen", eventMethod<&CFollower::onSeen>);
    }
    CError onSeen()
    {
        ++seen;
        return {};
    }

    CTarget<CObject> target{*this};
    int seen = 0;
};

}

TEST(Targets, ListenUntilTheyOrTheirSourceGo)
{
    addTestType(creatorRow<CFollower>("test:target-follower"));
    for (const CCreatorRow& row : coreCreators())
        addTestType(row);
    CTestTree tree;
    CObject* ui = nullptr;
    CObject* source = nullptr;
    CFollower* follower = nullptr;
    EXPECT_TRUE(succeeded(tree.root().createChild(ui, "ui:ui-event-bridge", "ui", false)));
    EXPECT_TRUE(succeeded(ui->createChild(follower, "test:target-follower", "f", false)));
    EXPECT_TRUE(succeeded(ui->createChild(source, "core:object", "s", false)));

    EXPECT_NE(follower->target.set("^none").message(), "");
    EXPECT_FALSE(follower->target);
    EXPECT_TRUE(succeeded(follower->target.set("^s")));
    follower->target.listen("e", "seen");
    follower->target.listen("e2", "seen");
    EXPECT_EQ(follower->target.get(), source);
    EXPECT_TRUE(succeeded(source->sendEvent("e")));
    EXPECT_TRUE(succeeded(source->sendEvent("e2")));
    EXPECT_EQ(follower->seen, 2);

    follower->target.clear();
    EXPECT_TRUE(succeeded(source->sendEvent("e")));
    EXPECT_EQ(follower->seen, 2);
    EXPECT_TRUE(follower->target.sourceName().isEmpty());

    CTarget<CObject> second(*follower);
    second.set(*source);
    follower->target.set(*source);
    EXPECT_TRUE(second && follower->target);
    CObject::destroy(source);
    EXPECT_FALSE(second || follower->target);
    EXPECT_EQ(second.sourceName(), "ui.s"_s);

    // The type is part of the question.
    CTarget<CFollower> typed(*ui);
    EXPECT_TRUE(succeeded(typed.set("ui.f")));
    EXPECT_NE(typed.set("^").message(), "");
    EXPECT_EQ(typed.get(), nullptr);
}

}
