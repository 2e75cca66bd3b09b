// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CWorkerThread.h"

#include "Support/CTestTree.h"

#include <pthread.h>
#include <sched.h>

#include <cerrno>

namespace kor::test
{
namespace
{

/// Counts how often its body was entered and woken, and sleeps until it is stopped.
class CSleeper : public CThread
{
public:
    using CThread::CThread;
    ~CSleeper() override { stopThread(); }

    void wake() { event.signal(); }

    bool isBrief = false;           // returns at once
    std::atomic<int> entered{0};
    std::atomic<int> woken{0};
    std::thread::id idInside;
    CStringBuf nameInside;
    std::string systemName;
    int policy = 0;

private:
    int run() override
    {
        idInside = std::this_thread::get_id();
        nameInside = nameOf(idInside);
        char text[16] = {};
        pthread_getname_np(pthread_self(), text, sizeof(text));
        systemName = text;
        sched_param param;
        pthread_getschedparam(pthread_self(), &policy, &param);
        ++entered;
        if (isBrief)
            return 0;
        do
        {
            event.wait();
            ++woken;
        } while (!isStopping());
        return 0;
    }
};

bool mayRiseAboveOthers()
{
    bool isAllowed = false;
    std::thread([&]
    {
        const sched_param lowest = {sched_get_priority_min(SCHED_RR)};
        isAllowed = pthread_setschedparam(pthread_self(), SCHED_RR, &lowest) == 0;
    }).join();
    return isAllowed;
}

class CAdder : public CWorkerThread
{
public:
    using CWorkerThread::CWorkerThread;
    ~CAdder() override { stopThread(); }

    int sum = 0;                    // touched only between the start and the end of a job
    int next = 0;

private:
    CError work() override
    {
        if (next < 0)
            return KOR_FAIL("Below zero.");
        sum += next;
        return {};
    }
};

}

TEST(Threads, RunOnceAtATime)
{
    CSleeper thread("sleeper");
    thread.stopThread();            // it never ran
    for (int round = 1; round <= 3; ++round)
    {
        EXPECT_TRUE(succeeded(thread.runThread(CThread::Priority::normal)));
        EXPECT_EQ(thread.runThread(CThread::Priority::high).message(), "Thread is already running.");
        EXPECT_TRUE(thread.isRunning());
        EXPECT_FALSE(thread.isStopping());
        thread.stopThread();
        EXPECT_FALSE(thread.isRunning());
        EXPECT_EQ(thread.entered, round);   // neither missed by a stop flag nor entered twice
        EXPECT_EQ(thread.woken, round);
        EXPECT_EQ(thread.policy, SCHED_OTHER);
        EXPECT_EQ(thread.nameInside, "sleeper"_s);
        EXPECT_EQ(thread.systemName, "sleeper");
        EXPECT_EQ(CThread::nameOf(thread.idInside), ""_s);
    }

}

TEST(Threads, WakeOnceForEachSignal)
{
    CSleeper thread;
    // A body that has gone by itself leaves nothing of its stop to the next one.
    thread.isBrief = true;
    EXPECT_TRUE(succeeded(thread.runThread(CThread::Priority::normal)));
    thread.stopThread();
    thread.isBrief = false;
    EXPECT_TRUE(succeeded(thread.runThread(CThread::Priority::high)));
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(thread.woken, 0);
    thread.wake();
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_LE(thread.woken, 1);
    thread.stopThread();
    EXPECT_LE(thread.woken, 2);     // the two signals may have come before it slept
    EXPECT_EQ(thread.policy, mayRiseAboveOthers() ? SCHED_RR : SCHED_OTHER);
}

TEST(Threads, WorkerTakesNoSecondJobWhileItIsBusy)
{
    class CGated : public CWorkerThread
    {
    public:
        ~CGated() override { stopThread(); }
        std::atomic<int> begun{0};
        std::atomic<bool> isOpen{false};

    private:
        CError work() override
        {
            ++begun;
            // Orders nothing between the two threads, which is the locks' business.
            while (!isOpen.load(std::memory_order_relaxed))
                std::this_thread::yield();
            return KOR_FAIL("Done.");
        }
    };
    CGated worker;
    EXPECT_TRUE(succeeded(worker.runThread(CThread::Priority::normal)));
    worker.startJob();
    while (worker.begun == 0)
        std::this_thread::yield();
    EXPECT_TRUE(worker.isBusy());
    worker.startJob();
    worker.isOpen.store(true, std::memory_order_relaxed);
    std::this_thread::sleep_for(std::chrono::milliseconds(10));     // so that the job ends before anybody asks
    EXPECT_EQ(worker.finishJob().message(), "Done.");
    EXPECT_FALSE(worker.isBusy());
    worker.startJob();
    EXPECT_EQ(worker.finishJob().message(), "Done.");
    EXPECT_EQ(worker.begun, 2);
}

TEST(Threads, CannotRunWithoutAStackAndMayTryAgain)
{
    CSleeper thread("sleeper");
    pthread_attr_t usual;
    ASSERT_EQ(pthread_getattr_default_np(&usual), 0);
    pthread_attr_t huge = usual;
    ASSERT_EQ(pthread_attr_setstacksize(&huge, std::size_t{1} << 60), 0);       // more than there are addresses
    ASSERT_EQ(pthread_setattr_default_np(&huge), 0);
    const std::string message = thread.runThread(CThread::Priority::normal).message();
    ASSERT_EQ(pthread_setattr_default_np(&usual), 0);
    EXPECT_EQ(message, "Thread creation error " + std::to_string(EAGAIN) + ".");
    EXPECT_FALSE(thread.isRunning());
    EXPECT_TRUE(succeeded(thread.runThread(CThread::Priority::normal)));
    thread.stopThread();
    EXPECT_EQ(thread.entered, 1);
}

TEST(Threads, WorkersDoOneJobAfterTheOther)
{
    CWorkerThreadPool pool;
    for (int i = 0; i < 2; ++i)
        pool.push_back(std::make_unique<CAdder>("worker-thread"));
    for (int round = 0; round < 3; ++round)
    {
        for (const auto& worker : pool)
        {
            auto& adder = static_cast<CAdder&>(*worker);
            // The first job may be given before the thread runs.
            adder.next = 1;
            adder.startJob();
            EXPECT_TRUE(succeeded(adder.runThread(CThread::Priority::normal)));
            EXPECT_TRUE(succeeded(adder.finishJob()));
        }
        for (int job = 0; job < 1000; ++job)
        {
            for (const auto& worker : pool)
                worker->startJob();
            for (const auto& worker : pool)
                EXPECT_TRUE(succeeded(worker->finishJob()));
        }
        for (const auto& worker : pool)
        {
            auto& adder = static_cast<CAdder&>(*worker);
            EXPECT_EQ(std::exchange(adder.sum, 0), 1001);
            adder.next = -1;
            adder.startJob();
            EXPECT_EQ(adder.finishJob().message(), "Below zero.");
            EXPECT_TRUE(succeeded(adder.finishJob()));
            EXPECT_FALSE(adder.isBusy());
            adder.startJob();       // done or dropped, but not in the way of the next run
            adder.stopThread();
            EXPECT_FALSE(adder.isBusy());
        }
    }
}

}
