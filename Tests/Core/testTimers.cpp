// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CTimer.h"

#include "Core/CLog.h"
#include "Core/CoreCreators.h"
#include "Platform/CEventLoop.h"
#include "Platform/CLoopTimer.h"
#include "Support/CTestTree.h"

#include <poll.h>

#include <thread>

namespace kor::test
{
namespace
{

using CClock = std::chrono::steady_clock;

class CTicked : public CObject
{
public:
    static void initClass(CObjectClassInfo& info)
    {
        CObject::initClass(info);
        info.addEvent("tick", eventMethod<&CTicked::onTick>);
    }
    CError onTick()
    {
        times.push_back(CClock::now());
        if (runsLoop)
        {
            EXPECT_EQ(++depth, 1);
            for (int i = 0; i < 5; ++i)
                CEventLoop::ofThisThread()->run(0.005);
            --depth;
        }
        if (isRefusing)
            return KOR_FAIL("Refused.");
        return {};
    }

    std::vector<CClock::time_point> times;
    bool runsLoop = false;
    bool isRefusing = false;
    int depth = 0;
};

class Timers : public testing::Test
{
protected:
    Timers()
    {
        addTestType(creatorRow<CTicked>("test:ticked"));
        for (const CCreatorRow& row : coreCreators())
            addTestType(row);
        tree.emplace();
        EXPECT_TRUE(succeeded(tree->root().createChild(ui, "ui:ui-event-bridge", "ui", false)));
        EXPECT_TRUE(succeeded(ui->createChild(ticked, "test:ticked", "l", false)));
        ticked->listenObject("ui.t", "tick", "tick");
    }

    CTimer& makeTimer(const char* attr, const char* value)
    {
        CAttrMap attrs;
        attrs[attr].setString(value);
        EXPECT_TRUE(succeeded(ui->createChild(timer, "core:timer", "t", false, nullptr, &attrs)));
        return *timer;
    }

    void runFor(double seconds)
    {
        const auto end = CClock::now() + std::chrono::duration<double>(seconds);
        while (CClock::now() < end)
            loop->run(std::chrono::duration<double>(end - CClock::now()).count());
    }

    const std::shared_ptr<CEventLoop> loop = CEventLoop::ofThisThread();
    std::optional<CTestTree> tree;
    CObject* ui = nullptr;
    CTicked* ticked = nullptr;
    CTimer* timer = nullptr;
};

}

TEST_F(Timers, RateGivesTheInterval)
{
    const struct
    {
        const char* attr;
        const char* value;
        double seconds;
    } cases[] = {
        {"fps", "60", 0.01},        {"fps", "40", 0.015},      {"fps", "30", 0.02},         {"fps", "15", 1.0 / 15.0},
        {"fps", "0.5", 2.0},        {"fps", "", 0.02},         {"fps", "0.0001", 0.02},     {"fps", "-5", 0.02},
        {"fps", "30.001", 1.0 / 30.001},                       {"fps", "nonsense", 0.02},   {"interval", "0.25", 0.25},
        {"interval", "", 1.0 / 30}, {"interval", "0.0001", 1.0 / 30},                       {"interval", "1e9", 1.0 / 30},
        {"interval", "99999999999", 99999999999.0},
    };
    for (const auto& row : cases)
    {
        const auto before = CClock::now();
        CTimer& made = makeTimer(row.attr, row.value);
        EXPECT_DOUBLE_EQ(made.interval(), row.seconds) << row.attr << " " << row.value;
        EXPECT_TRUE(made.isTimerActive());
        // The first tick is due after that many whole milliseconds, or 24 days.
        const double wait = std::min(std::round(row.seconds * 1000.0) / 1000.0, 2147483.647);
        const double left = loop->secondsToDeadline();
        EXPECT_LE(left, wait) << row.attr << " " << row.value;
        EXPECT_GE(left + std::chrono::duration<double>(CClock::now() - before).count(), wait - 1e-6)
            << row.attr << " " << row.value;
        CObject::destroy(&made);
    }
    CTimer* silent = nullptr;
    EXPECT_TRUE(succeeded(ui->createChild(silent, "core:timer", "t", false)));
    EXPECT_FALSE(silent->isTimerActive());
    EXPECT_TRUE(std::isinf(loop->secondsToDeadline()));
}

// A machine under load ticks late, never early and never more often.
TEST_F(Timers, TicksAtItsRateAndNotEarlier)
{
    const auto start = CClock::now();
    makeTimer("fps", "30");
    runFor(0.3);
    const auto elapsed = std::chrono::duration<double>(CClock::now() - start).count();
    ASSERT_GE(ticked->times.size(), 3u);
    EXPECT_LE(static_cast<double>(ticked->times.size()), elapsed / 0.02);
    for (std::size_t i = 0; i < ticked->times.size(); ++i)
        EXPECT_GE(std::chrono::duration<double>(ticked->times[i] - start).count(), 0.02 * static_cast<double>(i + 1));

    // What came too late is not made up for.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ticked->times.clear();
    for (int i = 0; i < 10; ++i)
        loop->dispatch();
    EXPECT_GE(ticked->times.size(), 1u);
    EXPECT_LE(ticked->times.size(), 2u);        // the next one may be due by now
}

// However late a tick comes, the next one is due at a whole number of intervals after the start.
TEST_F(Timers, LateTicksDoNotShiftTheOthers)
{
    const auto seconds = [](CClock::time_point from, CClock::time_point to)
    { return std::chrono::duration<double>(to - from).count(); };
    const auto beforeStart = CClock::now();
    makeTimer("interval", "0.1");
    const auto afterStart = CClock::now();
    std::this_thread::sleep_for(std::chrono::milliseconds(140));
    loop->dispatch();
    ASSERT_EQ(ticked->times.size(), 1u);
    const auto beforeLook = CClock::now();
    const double left = loop->secondsToDeadline();
    const double latest = seconds(beforeStart, CClock::now()) + left;
    const double earliest = seconds(afterStart, beforeLook) + left;
    EXPECT_LE(earliest, std::floor(latest / 0.1) * 0.1 + 1e-6);
}

TEST_F(Timers, SameRateDoesNotRestart)
{
    makeTimer("interval", "0.06");
    const auto start = CClock::now();
    while (ticked->times.empty() && CClock::now() - start < std::chrono::seconds(5))
    {
        EXPECT_TRUE(succeeded(timer->setAttrString("interval", "0.06", true)));
        loop->run(0.02);
    }
    EXPECT_EQ(ticked->times.size(), 1u);        // a timer that is restarted every 20 ms would never get there
}

TEST_F(Timers, HostThatOnlyWatchesTheDescriptorSeesTheDeadline)
{
    makeTimer("interval", "0.1");
    EXPECT_GT(loop->secondsToDeadline(), 0.0);
    EXPECT_LE(loop->secondsToDeadline(), 0.1);
    pollfd watched = {loop->descriptor(), POLLIN, 0};
    ASSERT_EQ(poll(&watched, 1, 10000), 1);
    EXPECT_EQ(loop->secondsToDeadline(), 0.0);
    loop->dispatch();
    EXPECT_EQ(ticked->times.size(), 1u);
    EXPECT_GT(loop->secondsToDeadline(), 0.0);
}

TEST_F(Timers, NeverTickInsideTheirOwnTick)
{
    makeTimer("interval", "0.002");
    ticked->runsLoop = true;
    runFor(0.1);
    EXPECT_GE(ticked->times.size(), 2u);
}

TEST_F(Timers, FailureIsLoggedAndTheTimerGoesOn)
{
    struct CLines : CLogListener
    {
        void onLogLine(const CStringBuf&) override { ++count; }
        int count = 0;
    };
    makeTimer("interval", "0.002");
    ticked->isRefusing = true;
    CLines lines;
    CLog::setListener(&lines);
    for (int i = 0; i < 1000 && ticked->times.size() < 3; ++i)
        loop->run(1.0);
    CLog::setListener(nullptr);
    EXPECT_EQ(ticked->times.size(), 3u);
    EXPECT_GE(lines.count, 3);
}

TEST_F(Timers, EndWithTheirObject)
{
    makeTimer("interval", "0.001");
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    timer->uninit();                            // the tree is being taken down; the tick is due
    loop->dispatch();
    EXPECT_TRUE(ticked->times.empty());
    EXPECT_TRUE(std::isinf(loop->secondsToDeadline()));
    EXPECT_TRUE(succeeded(timer->setAttrString("fps", "30", true)));
    EXPECT_FALSE(timer->isTimerActive());
    CObject::destroy(timer);

    CObject::destroy(&makeTimer("interval", "0.01"));
    pollfd watched = {loop->descriptor(), POLLIN, 0};
    EXPECT_EQ(poll(&watched, 1, 30), 0);        // the host is not woken for nobody
}

TEST_F(Timers, HandlerMayEndItsOwnTimerAndOthers)
{
    struct COneShot
    {
        static void onDue(void* context)
        {
            auto& self = *static_cast<COneShot*>(context);
            ++self.calls;
            self.timer.reset();
            self.other.reset();
        }
        std::unique_ptr<CLoopTimer> make() { return std::make_unique<CLoopTimer>(CEventLoop::ofThisThread(), &onDue, this); }

        std::unique_ptr<CLoopTimer> timer = make();
        std::unique_ptr<CLoopTimer> other = make();
        int calls = 0;
    };
    COneShot once;
    once.timer->start(std::chrono::milliseconds(1));
    once.other->start(std::chrono::milliseconds(1));
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    runFor(0.02);
    EXPECT_EQ(once.calls, 1);
}

}
