// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CStdEventBridge.h"

#include "Core/CBridgedHandler.h"
#include "Core/CLog.h"
#include "Core/CNotifyServer.h"
#include "Core/CUIEventBridge.h"
#include "Core/CoreCreators.h"
#include "Support/CTestTree.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <thread>

namespace kor::test
{
namespace
{

/// Notes what arrives, in which order and on which thread.
class CReceiver : public CObject
{
public:
    static void initClass(CObjectClassInfo& info)
    {
        CObject::initClass(info);
        info.addEvent("take", eventMethod<&CReceiver::onTake>);
        info.addEvent("post-again", eventMethod<&CReceiver::onPostAgain>);
        info.addEvent("refuse", eventMethod<&CReceiver::onRefuse>);
        info.addEvent("end-tree", eventMethod<&CReceiver::onEndTree>);
        info.addEvent("run-loop", eventMethod<&CReceiver::onRunLoop>);
    }

    CError onTake(CAttrMap& params)
    {
        EXPECT_EQ(std::this_thread::get_id(), home);
        numbers.push_back(params["n"].asInt());
        senders.push_back(params["from"].asInt());
        return {};
    }
    CError onPostAgain()
    {
        ++rounds;
        KOR_TRY(bridgedHandler("post-again").post());
        return {};
    }
    CError onRefuse() { return KOR_FAIL("Refused."); }
    CError onEndTree()
    {
        destroy(ending != nullptr ? ending : parent());
        return {};
    }
    CError onRunLoop()
    {
        CEventLoop::ofThisThread()->dispatch();
        loopRuns.push_back(static_cast<int>(numbers.size()));
        return {};
    }

    CError post(const char* handler, int n, int from = 0)
    {
        CAttrMap params;
        params["n"].setInt(n);
        params["from"].setInt(from);
        return runEventBridged(*this, handler, params);
    }

    const std::thread::id home = std::this_thread::get_id();
    std::vector<int> numbers;
    std::vector<int> senders;
    std::vector<int> loopRuns;              // how many numbers were there when a run of the loop ended
    int rounds = 0;
    CObject* ending = nullptr;              // what "end-tree" destroys; null for the part it is in
};

class EventBridge : public testing::Test
{
protected:
    EventBridge()
    {
        addTestType(creatorRow<CReceiver>("test:receiver"));
        for (const CCreatorRow& row : coreCreators())
            addTestType(row);
        tree.emplace();
        makeReceiver("ui");
    }

    /// In a part of the tree that has a bridge of its own.
    void makeReceiver(const char* bridgeName)
    {
        EXPECT_TRUE(succeeded(tree->root().createChild(ui, "ui:ui-event-bridge", bridgeName, false)));
        EXPECT_TRUE(succeeded(ui->createChild(receiver, "test:receiver", "r", false)));
    }

    const std::shared_ptr<CEventLoop> loop = CEventLoop::ofThisThread();
    std::optional<CTestTree> tree;
    CStdEventBridge* ui = nullptr;
    CReceiver* receiver = nullptr;
};

bool isReadable(int descriptor)
{
    pollfd watched = {descriptor, POLLIN, 0};
    return poll(&watched, 1, 0) == 1;
}

/// The descriptor that other threads write to in order to wake the loop behind `descriptor`; -1 when it is not found.
int wakerOf(int descriptor)
{
    std::ifstream watched("/proc/self/fdinfo/" + std::to_string(descriptor));
    for (std::string word; watched >> word;)
    {
        std::string number;
        if (word == "tfd:" && watched >> number &&
            std::filesystem::read_symlink("/proc/self/fd/" + number) == "anon_inode:[eventfd]")
            return std::stoi(number);
    }
    return -1;
}

}

TEST_F(EventBridge, DeliversOutOfTheOwnersLoop)
{
    EXPECT_FALSE(isReadable(loop->descriptor()));
    receiver->listenObject("s", "e", "take");
    CNotifyServer& server = *tree->root().notifyServer();
    std::thread([&]
    {
        CAttrMap params;
        for (int n = 0; n < 3; ++n)
        {
            params["n"].setInt(n);
            EXPECT_TRUE(succeeded(server.send("s", "e", params, false)));
        }
    }).join();
    EXPECT_TRUE(receiver->numbers.empty());
    EXPECT_TRUE(isReadable(loop->descriptor()));
    loop->dispatch();
    EXPECT_EQ(receiver->numbers, (std::vector<int>{0, 1, 2}));
    loop->dispatch();
    EXPECT_FALSE(isReadable(loop->descriptor()));
}

TEST_F(EventBridge, DropsWhatIsForAnObjectThatIsGoneOrWasReplaced)
{
    EXPECT_TRUE(succeeded(receiver->post("take", 1)));
    const CBridgedHandler handler = receiver->bridgedHandler("take");
    CObject::destroy(receiver);
    loop->dispatch();
    EXPECT_TRUE(succeeded(handler.post()));
    EXPECT_TRUE(succeeded(ui->createChild(receiver, "test:receiver", "r", false)));
    ASSERT_EQ(receiver->fullName(), "ui.r"_s);
    loop->dispatch();
    EXPECT_TRUE(receiver->numbers.empty());
}

TEST_F(EventBridge, FailureOfAnEventIsLoggedAndTheNextArrives)
{
    struct CLines : CLogListener
    {
        void onLogLine(const CStringBuf& line) override { text += line.toUtf8(); }
        std::string text;
    };
    EXPECT_TRUE(succeeded(receiver->post("refuse", 1)));
    EXPECT_TRUE(succeeded(receiver->post("take", 2)));
    CLines lines;
    CLog::setListener(&lines);
    loop->dispatch();
    CLog::setListener(nullptr);
    EXPECT_NE(lines.text.find("Refused."), std::string::npos);
    EXPECT_EQ(receiver->numbers, std::vector<int>{2});
}

TEST_F(EventBridge, HandlerThatPostsToItselfLeavesTheLoopItsTurn)
{
    EXPECT_TRUE(succeeded(receiver->post("post-again", 1)));
    for (int round = 1; round <= 3; ++round)
    {
        loop->dispatch();
        EXPECT_EQ(receiver->rounds, round);
        EXPECT_TRUE(isReadable(loop->descriptor()));
    }
}

TEST_F(EventBridge, OrderHoldsWhenAHandlerRunsTheLoop)
{
    EXPECT_TRUE(succeeded(receiver->post("run-loop", 0)));
    EXPECT_TRUE(succeeded(receiver->post("take", 1)));
    EXPECT_TRUE(succeeded(receiver->post("run-loop", 0)));
    EXPECT_TRUE(succeeded(receiver->post("take", 2)));
    loop->dispatch();
    EXPECT_EQ(receiver->numbers, (std::vector<int>{1, 2}));
    EXPECT_EQ(receiver->loopRuns, (std::vector<int>{2, 2}));    // the first has delivered what stood behind it
}

TEST_F(EventBridge, EventMayEndTheTreeThatItCameThrough)
{
    for (const bool isBridgeKept : {true, false})
    {
        const CBridgedHandler handler = isBridgeKept ? receiver->bridgedHandler("take") : CBridgedHandler();
        EXPECT_TRUE(succeeded(receiver->post("end-tree", 0)));
        EXPECT_TRUE(succeeded(receiver->post("take", 1)));
        loop->dispatch();
        EXPECT_EQ(tree->find("ui"), nullptr);
        loop->dispatch();
        // Who still holds the bridge posts into nothing.
        std::thread([&] { EXPECT_TRUE(succeeded(handler.post())); }).join();
        EXPECT_FALSE(isReadable(loop->descriptor()));
        makeReceiver("ui");
    }
}

TEST_F(EventBridge, EventMayEndAnotherTreeWithPostsOfItsOwn)
{
    CReceiver& first = *receiver;
    makeReceiver("ui2");
    first.ending = ui;
    EXPECT_TRUE(succeeded(first.post("end-tree", 0)));
    EXPECT_TRUE(succeeded(receiver->post("take", 1)));
    loop->dispatch();
    EXPECT_EQ(tree->find("ui2"), nullptr);
    loop->dispatch();
}

TEST_F(EventBridge, NothingArrivesInATreeThatIsTakenDown)
{
    EXPECT_TRUE(succeeded(receiver->post("take", 1)));
    ui->uninit();
    EXPECT_TRUE(succeeded(receiver->post("take", 2)));
    loop->dispatch();
    EXPECT_TRUE(receiver->numbers.empty());

    makeReceiver("ui2");
    ui->uninit();
    EXPECT_TRUE(succeeded(receiver->post("take", 3)));
    EXPECT_FALSE(isReadable(loop->descriptor()));       // nobody is woken for what was dropped
}

TEST_F(EventBridge, TreesEndWhileAnotherThreadPostsByTheirId)
{
    const auto end = std::chrono::steady_clock::now() +
                     std::chrono::milliseconds(std::getenv("MORVA_LONG") != nullptr ? 10000 : 100);
    std::atomic<int> id{tree->root().notifyServer()->serverId()};
    std::atomic<bool> isOver{false};
    std::thread poster([&]
    {
        CAttrMap params;
        while (!isOver)
            EXPECT_TRUE(succeeded(CNotifyServer::send(id, "s", "e", params)));
    });
    std::size_t received = 0;
    while (std::chrono::steady_clock::now() < end)
    {
        CObject* root = nullptr;
        CReceiver* listener = nullptr;
        EXPECT_TRUE(succeeded(CApplication::initRootObject(root, "")));
        EXPECT_TRUE(succeeded(root->createChild(ui, "ui:ui-event-bridge", "ui", false)));
        EXPECT_TRUE(succeeded(ui->createChild(listener, "test:receiver", "r", false)));
        listener->listenObject("s", "e", "take");
        id = root->notifyServer()->serverId();
        loop->run(0.001);
        received += listener->numbers.size();
        CApplication::destroyRootObject(root);
    }
    isOver = true;
    poster.join();
    EXPECT_GT(received, 0u);
    CAttrMap params;
    EXPECT_TRUE(succeeded(CNotifyServer::send(id, "s", "e", params)));      // of a tree that is gone
}

TEST_F(EventBridge, WithoutDescriptorsItDoesNotStart)
{
    std::thread([this]
    {
        rlimit before = {};
        ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
        const rlimit none = {0, before.rlim_max};
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
        CObject* made = nullptr;
        const std::string bridge = ui->createChild(made, "ui:ui-event-bridge", "b", false).message();
        const std::string timer = ui->createChild(made, "core:timer", "t", false).message();
        setrlimit(RLIMIT_NOFILE, &before);
        EXPECT_EQ(bridge, "Event loop creation error 24.");      // EMFILE
        EXPECT_EQ(timer, "Timer window creation error 24.");
        EXPECT_EQ(CEventLoop::ofThisThread()->error(), 0);
    }).join();
    EXPECT_EQ(ui->children().size(), 1u);
}

TEST_F(EventBridge, PostThatWakesNobodyFailsAndIsKept)
{
    const int waker = wakerOf(loop->descriptor());
    ASSERT_GE(waker, 0);
    const int kept = dup(waker);
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_EQ(dup2(full, waker), waker);
    EXPECT_EQ(receiver->post("take", 1).message(), "Post message error " + std::to_string(ENOSPC) + ".");
    EXPECT_EQ(receiver->post("take", 2).message(), "Post message error " + std::to_string(ENOSPC) + ".");
    ASSERT_EQ(dup2(kept, waker), waker);
    close(full);
    close(kept);

    EXPECT_TRUE(succeeded(receiver->post("take", 3)));
    EXPECT_TRUE(isReadable(loop->descriptor()));
    loop->dispatch();
    EXPECT_EQ(receiver->numbers, (std::vector<int>{1, 2, 3}));
}

TEST_F(EventBridge, EightThreadsKeepTheirOrderAndLoseNothing)
{
    constexpr int senderCount = 8;
    const int perSender = std::getenv("MORVA_LONG") != nullptr ? 100000 : 10000;
    receiver->numbers.reserve(static_cast<std::size_t>(senderCount * perSender));
    receiver->senders.reserve(receiver->numbers.capacity());
    receiver->listenObject("s", "e", "take");
    CNotifyServer& server = *tree->root().notifyServer();
    std::atomic<int> running{senderCount};
    std::vector<std::thread> threads;
    for (int from = 0; from < senderCount; ++from)
        threads.emplace_back([&, from]
        {
            CAttrMap params;
            params["from"].setInt(from);
            for (int n = 0; n < perSender; ++n)
            {
                params["n"].setInt(n);
                EXPECT_TRUE(succeeded(server.send("s", "e", params, false)));
            }
            --running;
        });
    // A wake-up that got lost would leave the loop asleep beside a full queue.
    while (running > 0 || isReadable(loop->descriptor()))
        loop->run(0.1);
    for (std::thread& thread : threads)
        thread.join();
    loop->dispatch();

    ASSERT_EQ(receiver->numbers.size(), static_cast<std::size_t>(senderCount) * static_cast<std::size_t>(perSender));
    std::vector<int> next(senderCount, 0);
    for (std::size_t i = 0; i < receiver->numbers.size(); ++i)
        ASSERT_EQ(receiver->numbers[i], next[static_cast<std::size_t>(receiver->senders[i])]++);
}

}
