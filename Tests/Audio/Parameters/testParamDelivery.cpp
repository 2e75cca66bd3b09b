// SPDX-License-Identifier: GPL-3.0-or-later
#include "ParamTree.h"
#include "Support/CRealtimeGuard.h"

#include <chrono>
#include <cstdlib>
#include <list>
#include <random>
#include <thread>

namespace kor::test
{
namespace
{

using CSeen = CFollower::CSeen;
using CList = std::vector<CSeen>;

CAudioParamRequest requestOf(int group, int first, const std::vector<double>& values, bool cut = false)
{
    CAudioParamRequest request;
    request.group = group;
    request.firstElement = first;
    request.elementCount = static_cast<int>(values.size());
    request.values = values.data();
    request.cut = cut;
    return request;
}

const CAttrs bands = {{"def-values", "1 1 1 1"}, {"max-values", "1000"}, {"is-storable", "true"}};

}

TEST(ParamDelivery, ReachesTheListenersThatMatch)
{
    struct Case
    {
        bool isSingleGroup, isSingleElement;
        int group, element;                         // of the listener
        int changedGroup, first, count;
        bool cut, isHeard;
    };
    const Case cases[] = {
        {false, false, 1, 2, 1, 2, 1, false, true},
        {false, false, 1, 2, 2, 2, 1, false, false},
        {false, false, 1, 2, 1, 1, 1, false, false},
        {false, false, 1, 2, 1, 0, 2, false, false},
        {false, false, 1, 2, 1, 0, 3, false, true},
        {false, false, 1, 2, allGroups, 2, 1, false, true},
        {false, false, everyIndex, 2, 3, 2, 1, false, true},
        {false, false, 1, everyIndex, 1, 0, 1, false, true},
        {false, false, 1, 3, 1, 0, 1, true, true},          // a cut tail changes what is read there
        {false, false, 1, 7, 1, 0, 1, true, false},         // behind the old end nothing changed
        {false, false, 1, 3, 1, 0, 0, true, true},          // the list is emptied
        {true, false, 0, 2, 3, 2, 1, false, true},
        {false, true, 1, 5, 1, 0, 1, false, true},
    };
    for (const Case& c : cases)
    {
        CAttrs attrs = bands;
        attrs.emplace_back("is-single-group", c.isSingleGroup ? "true" : "false");
        attrs.emplace_back("is-single-element", c.isSingleElement ? "true" : "false");
        CParamFixture f(attrs);
        f.env.isProcessing = true;
        CFollower follower;
        follower.bind(f.param(), c.group, c.element);
        f.param().change(requestOf(c.changedGroup, c.first, std::vector<double>(static_cast<std::size_t>(c.count), 7.0),
                                   c.cut));
        EXPECT_TRUE(follower.take().empty()) << "ahead of the flush";
        EXPECT_TRUE(f.collector.flush());
        EXPECT_EQ(follower.listener.hasChanges(), c.isHeard) << &c - cases;
        follower.take();
        EXPECT_FALSE(f.collector.flush());
        EXPECT_FALSE(follower.listener.hasChanges());
    }
}

TEST(ParamDelivery, PendingChangesMergeOnlyWhileNothingIsProcessing)
{
    struct Case
    {
        const char* what;
        std::vector<std::pair<int, double>> moves;  // group and value of element 0
        CList merged;
    };
    const Case cases[] = {
        {"two moves of one knob", {{0, 2}, {0, 3}}, {{0, 0, 1, 3}}},
        {"two groups", {{0, 2}, {1, 3}, {0, 4}}, {{0, 0, 1, 4}, {1, 0, 1, 3}}},
        {"all groups between", {{0, 2}, {allGroups, 3}, {0, 4}}, {{0, 0, 1, 2}, {allGroups, 0, 1, 3}, {0, 0, 1, 4}}},
        {"all groups twice", {{allGroups, 2}, {allGroups, 3}}, {{allGroups, 0, 1, 2}, {allGroups, 0, 1, 3}}},
    };
    for (const Case& c : cases)
    {
        for (const bool isProcessing : {false, true})
        {
            CParamFixture f(bands);
            f.env.isProcessing = isProcessing;
            CFollower follower;
            follower.bind(f.param(), everyIndex, everyIndex);
            CList all;
            for (const auto& [group, value] : c.moves)
            {
                f.param().setValue(group, 0, value);
                all.push_back({group, 0, 1, value});
            }
            f.collector.flush();
            EXPECT_EQ(follower.take(), isProcessing ? all : c.merged) << c.what;
            EXPECT_EQ(follower.storage.getValue(0, 0), f.param().getValue(0, 0));
        }
    }
}

// Whole lists for all groups make everything older inaudible: programs do not pile up.
TEST(ParamDelivery, WholeListsReplaceWhatIsPending)
{
    CParamFixture f(bands);
    CFollower follower;
    follower.bind(f.param(), everyIndex, everyIndex);
    for (int i = 0; i < 100; ++i)
    {
        f.param().setValue(i % 4, 0, i);
        f.param().change(requestOf(allGroups, 0, {1.0 * i, 2, 3}, true));
    }
    f.collector.flush();
    EXPECT_EQ(follower.take(), (CList{{allGroups, 0, 3, 99}}));
}

TEST(ParamDelivery, ALateListenerHearsEveryChangeOnce)
{
    for (const bool isProcessing : {false, true})
    {
        CParamFixture f(bands);
        CAudioParam& param = f.param();
        f.env.isProcessing = isProcessing;
        param.setValue(0, 0, 2.0);
        f.collector.flush();
        param.setValue(0, 0, 3.0);                  // pending

        CFollower late;
        late.bind(param, 0, 0);
        EXPECT_EQ(late.storage.getValue(0, 0), isProcessing ? 2.0 : 3.0);
        f.collector.flush();
        EXPECT_EQ(late.take(), isProcessing ? CList({{0, 0, 1, 3}}) : CList()) << isProcessing;
        EXPECT_EQ(late.storage.getValue(0, 0), 3.0);

        param.setValue(0, 0, 4.0);
        f.collector.flush();
        CFollower later;                            // behind a flush whose records still wait with the parameter
        later.bind(param, 0, 0);
        EXPECT_EQ(later.storage.getValue(0, 0), 4.0);
        f.collector.flush();
        EXPECT_EQ(later.take(), CList());
        EXPECT_EQ(late.take(), (CList{{0, 0, 1, 4}}));
    }
}

TEST(ParamDelivery, OneListenerWithSeveralStoragesAndEnds)
{
    CParamFixture f(CNodes::list, {{"audio:param", "p", paramAttrs(bands)}, {"audio:param", "q", paramAttrs(bands)}});
    f.env.isProcessing = true;
    auto follower = std::make_unique<CFollower>();
    CAudioParamStorage second, third;
    follower->bind(f.param(), 0, 0);
    f.param().addListener(follower->listener, second, everyIndex, everyIndex);
    f.param("q").addListener(follower->listener, third, 0, 0);
    f.param().setValue(0, 0, 2.0);
    f.param("q").setValue(0, 0, 3.0);
    f.collector.flush();
    EXPECT_EQ(follower->take(), (CList{{0, 0, 1, 2}, {0, 0, 1, 3}}));     // not twice

    f.param().setValue(0, 0, 4.0);
    f.param("q").setValue(0, 0, 5.0);
    f.collector.flush();
    f.param().removeListener(follower->listener, second);
    f.param().removeListener(follower->listener, follower->storage);
    EXPECT_EQ(follower->take(), (CList{{0, 0, 1, 5}}));                   // what waited of p is gone
    f.param("q").setValue(0, 0, 6.0);
    f.collector.flush();
    follower.reset();                                                     // with a record waiting
    f.param("q").setValue(0, 0, 7.0);
    f.collector.flush();

    // A listener may outlive its parameters.
    CFollower orphan;
    {
        CAudioParamCollector gone;
        CAudioParam& param = gone.defineParam("gone", f.tree.def());
        orphan.bind(param, 0, 0);
        param.setValue(0, 0, 2.0);
        gone.flush();
        EXPECT_TRUE(orphan.listener.hasChanges());
    }
    EXPECT_FALSE(orphan.listener.hasChanges());
}

TEST(ParamDelivery, ALateDefinitionLaysOutBoundStorages)
{
    CParamFixture f(CNodes::list,
                    {{"audio:param", "p", paramAttrs({{"is-global", "true"}, {"def-values", "7"}})},
                     {"audio:param", "q", paramAttrs({{"is-global", "true"}, {"def-values", "8 9"}})}});
    f.env.isProcessing = true;
    CFollower follower;
    follower.bind(f.collector.getParam("x"), 0, everyIndex);
    EXPECT_EQ(follower.storage.getValue(0, 0), 0.0);
    for (const auto& [definition, value] : {std::pair{"p", 7.0}, {"q", 8.0}})
    {
        f.collector.defineParam("x", f.tree.def(definition));
        f.collector.flush();
        follower.take();
        EXPECT_EQ(follower.storage.getValue(0, 0), value);
        CFollower late;
        late.bind(f.collector.getParam("x"), 0, everyIndex);
        EXPECT_EQ(late.storage.getValue(0, 0), value);
    }
    EXPECT_EQ(follower.storage.getValue(0, 1), 9.0);
}

TEST(ParamDelivery, BatchesLandInOneFlush)
{
    for (const bool isProcessing : {false, true})
    {
        CParamFixture f(CNodes::list,
                        {{"audio:param", "p", paramAttrs(bands)}, {"audio:param", "q", paramAttrs(bands)}});
        CAudioParam& param = f.param();
        CAudioParam& derived = f.param("q");
        struct CDeriving : CAudioParamChangeHook
        {
            void onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext*) override
            {
                to->setValue(request.group, 0, 50);
            }
            CAudioParam* to = nullptr;
        } deriving;
        deriving.to = &derived;
        param.addHook(deriving);
        f.env.isProcessing = isProcessing;
        CFollower follower;
        follower.bind(param, everyIndex, everyIndex);
        CFollower ofDerived;
        ofDerived.bind(derived, everyIndex, everyIndex);

        CAudioParamBatch batch(f.collector);
        {
            CAudioParamChangeScope scope(&batch);
            param.setValue(0, 0, 2.0);
            param.setValue(1, 0, 3.0);
        }
        EXPECT_EQ(param.getValue(0, 0), 2.0);
        EXPECT_FALSE(f.collector.flush()) << "hooks' changes stay in the batch, too";
        param.removeHook(deriving);
        param.setValue(0, 0, 9.0);                  // past the batch
        f.collector.flush();
        EXPECT_EQ(follower.take(), (CList{{0, 0, 1, 9}}));
        EXPECT_FALSE(batch.isEmpty());
        batch.submit();
        EXPECT_TRUE(batch.isEmpty());
        f.collector.flush();
        follower.take();
        EXPECT_EQ(ofDerived.take().size(), 2u);
        EXPECT_EQ(follower.storage.getValue(0, 0), 9.0) << "the store has the last word";
        EXPECT_EQ(follower.storage.getValue(1, 0), 3.0);
    }
}

TEST(ParamDelivery, DeliveredChangesAreHeardAtOnceAndStoredLater)
{
    CParamFixture f(bands);
    CAudioParam& param = f.param();
    f.env.isProcessing = true;
    CFollower follower;
    follower.bind(param, 0, 0);
    const std::vector<double> seven = {7}, eight = {8}, wild = {5000};
    const std::uint64_t mark = f.collector.deliver(param, requestOf(0, 0, seven));
    EXPECT_EQ(follower.take(), (CList{{0, 0, 1, 7}}));
    EXPECT_EQ(param.getValue(0, 0), 1.0);
    param.storeDelivered(requestOf(0, 0, seven), mark);
    EXPECT_EQ(param.getValue(0, 0), 7.0);
    EXPECT_FALSE(f.collector.flush()) << "heard already";

    param.setValue(0, 0, 3.0);                      // pending while an event is delivered: the store decides
    const std::uint64_t second = f.collector.deliver(param, requestOf(0, 0, eight));
    param.storeDelivered(requestOf(0, 0, eight), second);
    f.collector.flush();
    follower.take();
    EXPECT_EQ(param.getValue(0, 0), 8.0);
    EXPECT_EQ(follower.storage.getValue(0, 0), 8.0);

    f.collector.deliver(param, requestOf(0, 0, wild));
    EXPECT_EQ(follower.take(), (CList{{0, 0, 1, 1000}}));
}

// Any mix of changes, cuts, batches, events and flushes: in the end every listener has what is stored.
TEST(ParamDelivery, StoreAndListenersAgreeInTheEnd)
{
    for (unsigned seed = 1; seed <= 300; ++seed)
    {
        std::mt19937 random(seed);
        const auto below = [&](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
        CParamFixture f(bands);
        CAudioParam& param = f.param();
        std::list<CFollower> followers;
        CAudioParamBatch batches[2] = {CAudioParamBatch(f.collector), CAudioParamBatch(f.collector)};
        for (int step = 0; step < 60; ++step)
        {
            const int group = below(5) == 4 ? allGroups : below(4);
            const std::vector<double> values(static_cast<std::size_t>(below(4)), 1.0 + step);
            const CAudioParamRequest request = requestOf(group, below(7), values, below(4) == 0);
            const std::vector<double> one = {step + 0.5};
            const CAudioParamRequest event = requestOf(below(4), 0, one);
            switch (below(9))
            {
            case 0: f.collector.flush(); break;
            case 1: f.env.isProcessing = below(2) == 0; break;
            case 2: followers.emplace_back().bind(param, below(2) == 0 ? everyIndex : below(4), everyIndex); break;
            case 3: batches[below(2)].submit(); break;
            case 4: param.storeDelivered(event, f.collector.deliver(param, event)); break;
            case 5: param.reset(group, below(2) == 0 ? everyIndex : below(4)); break;
            case 6:
            case 7:
            {
                CAudioParamChangeScope scope(&batches[below(2)]);
                param.change(request);
                break;
            }
            default: param.change(request); break;
            }
        }
        for (CAudioParamBatch& batch : batches)
            batch.submit();
        f.collector.flush();
        for (CFollower& follower : followers)
            follower.take();
        followers.emplace_back().bind(param, everyIndex, everyIndex);
        int index = 0;
        for (const CFollower& follower : followers)
        {
            ++index;
            for (int g = 0; g < 4; ++g)
            {
                const bool isBound = follower.boundGroup == everyIndex || follower.boundGroup == g;
                for (int e = 0; e < 12 && isBound; ++e)
                    ASSERT_EQ(follower.storage.getValue(g, e), param.getValue(g, e))
                        << "seed " << seed << " follower " << index << " of " << followers.size() << " at " << g << ","
                        << e;
            }
        }
    }
}

TEST(ParamDelivery, TheAudioThreadNeitherAllocatesNorWaits)
{
    CParamFixture f(bands);
    CAudioParam& param = f.param();
    f.collector.reserveDelivered(64);
    f.env.isProcessing = true;
    std::list<CFollower> followers(40);
    for (CFollower& follower : followers)
        follower.bind(param, everyIndex, everyIndex);
    const std::vector<double> many(12, 3.0), one = {2.0};
    std::size_t faults = 0;
    for (int block = 0; block < 500; ++block)
    {
        const int moves = block == 250 ? 400 : 5 + block % 3;       // once far more than ever before
        for (int i = 0; i < moves; ++i)
            param.setValue(i % 4, i % 12, block % 100);
        param.change(requestOf(block % 4, 0, many));
        CAudioParamBatch batch(f.collector);
        {
            CAudioParamChangeScope scope(&batch);
            param.setValue(allGroups, 0, 4.0);
        }
        batch.submit();
        const CRealtimeGuard guard;
        f.collector.flush();
        for (int i = 0; i < 16; ++i)
            f.collector.deliver(param, requestOf(i % 4, 0, one));
        for (CFollower& follower : followers)
            follower.listener.takeChanges([&](const CAudioParamRecord& record)
                                          { follower.storage.applyChange(record.request()); });
        if (block >= 10)
            faults += guard.faults();
    }
    EXPECT_EQ(faults, 0u);
    EXPECT_EQ(followers.back().storage.getValue(0, 0), 2.0);
}

// Two windows and the host's thread change, one audio thread flushes, binds and unbinds; MORVA_LONG=1 takes a minute.
TEST(ParamDelivery, StressOfChangingThreadsAgainstTheAudioThread)
{
    const CTreeNode text{"audio:param", "t", paramAttrs({{"data-type", "str"}})};
    CParamFixture f(CNodes::list, {{"audio:param", "p", paramAttrs(bands)}, text});
    CAudioParam& param = f.param();
    CAudioParam& names = f.param("t");
    f.env.isProcessing = true;
    const char* longRun = std::getenv("MORVA_LONG");
    const auto end = std::chrono::steady_clock::now() +
                     std::chrono::milliseconds(longRun != nullptr && *longRun == '1' ? 60000 : 2000);
    std::atomic<bool> isOver{false};
    const auto change = [&](unsigned seed)
    {
        std::mt19937 random(seed);
        CAudioParamBatch batch(f.collector);
        while (!isOver)
        {
            const std::vector<double> values(1 + random() % 12, 1.0 + random() % 100);
            const int group = random() % 5 == 4 ? allGroups : static_cast<int>(random() % 4);
            CAudioParamChangeScope scope(random() % 3 == 0 ? &batch : nullptr);
            param.change(requestOf(group, static_cast<int>(random() % 8), values, random() % 8 == 0));
            names.setText(static_cast<int>(random() % 4), 0, CStringBuf::fromInt(static_cast<int>(random() % 1000)));
            f.collector.getParam("p" + CStringBuf::fromInt(static_cast<int>(random() % 50)));
            if (random() % 4 == 0)
                batch.submit();
            if (random() % 16 == 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    };
    std::thread threads[] = {std::thread(change, 1), std::thread(change, 2), std::thread(change, 3)};

    CFollower steady, texts;
    steady.bind(param, everyIndex, everyIndex);
    texts.bind(names, everyIndex, everyIndex);
    std::list<CFollower> passing;
    std::uint64_t flushes = 0, broken = 0;
    while (std::chrono::steady_clock::now() < end)
    {
        f.collector.flush();
        ++flushes;
        steady.take();
        texts.take();
        for (CFollower& follower : passing)
            follower.take();
        if (flushes % 8 == 0)
            passing.emplace_back().bind(param, everyIndex, everyIndex);
        if (passing.size() > 20)
            passing.pop_front();
        // Whoever came late has the same as who was there from the start.
        for (const CFollower& follower : passing)
            for (int g = 0; g < 4; ++g)
                broken += follower.storage.elementCount(g) != steady.storage.elementCount(g) ||
                          follower.storage.getValue(g, 3) != steady.storage.getValue(g, 3);
        std::this_thread::yield();
    }
    isOver = true;
    for (std::thread& thread : threads)
        thread.join();
    f.collector.flush();
    steady.take();
    texts.take();
    EXPECT_EQ(broken, 0u) << "of " << flushes << " flushes";
    EXPECT_GT(flushes, 20u);
    for (int g = 0; g < 4; ++g)
    {
        for (int e = 0; e < 20; ++e)
            EXPECT_EQ(steady.storage.getValue(g, e), param.getValue(g, e)) << g << "," << e;
        EXPECT_EQ(texts.storage.getText(g, 0), names.getText(g, 0));
    }
}

}
