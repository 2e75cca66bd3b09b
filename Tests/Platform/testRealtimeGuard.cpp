// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CAllocator.h"
#include "Platform/CLock.h"
#include "Support/CRealtimeGuard.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace kor
{

namespace
{
void* volatile sink = nullptr;                              // keeps the compiler from leaving pairs out
}

TEST(RealtimeGuard, SeesEveryWayToTheHeap)
{
    if (!test::CRealtimeGuard::canSeeHeap)
        GTEST_SKIP() << "the sanitizer owns the heap's functions";
    struct alignas(64) CAligned
    {
        char bytes[64];
    };
    struct Case
    {
        const char* what;
        std::function<void()> run;
        std::size_t pairs;                                  // of an allocation and a release
    };
    const Case cases[] = {
        {"malloc", [] { sink = std::malloc(10); std::free(sink); }, 1},
        {"calloc", [] { sink = std::calloc(2, 10); std::free(sink); }, 1},
        {"realloc", [] { sink = std::realloc(nullptr, 10); sink = std::realloc(sink, 90000); std::free(sink); }, 2},
        {"aligned", [] { sink = std::aligned_alloc(64, 64); std::free(sink); }, 1},
        {"new", [] { auto* p = new int(1); sink = p; delete p; }, 1},
        {"new aligned", [] { auto* p = new CAligned; sink = p; delete p; }, 1},
        {"free null", [] { std::free(nullptr); }, 0},
    };
    for (const Case& c : cases)
    {
        const test::CRealtimeGuard guard;
        c.run();
        const std::size_t faults = guard.faults();
        EXPECT_EQ(faults, 2 * c.pairs) << c.what;
    }
}

TEST(RealtimeGuard, SeesSmallBlocksAndNotOtherThreads)
{
    freeBlock(allocBlock(100));                             // the thread's cache is there
    std::atomic<int> step{0};
    std::thread other([&] {
        while (step != 1)
            std::this_thread::yield();
        freeBlock(allocBlock(100));
        std::free(std::malloc(100));
        step = 2;
    });
    const test::CRealtimeGuard guard;
    step = 1;
    while (step != 2)
        std::this_thread::yield();
    const std::size_t before = guard.faults();
    freeBlock(allocBlock(100));
    const std::size_t after = guard.faults();
    EXPECT_EQ(before, 0u);
    EXPECT_EQ(after, 2u);
    other.join();
}

TEST(RealtimeGuard, SeesLocksThatWereHeld)
{
    CLock lock;
    const test::CRealtimeGuard guard;
    {
        CLockHolder hold(lock);
        CLockHolder nested(lock);
    }
    EXPECT_TRUE(lock.try_lock());
    EXPECT_EQ(guard.lockWaits(), 0u);
    std::size_t waits = 0;
    std::atomic<bool> isReady{false};
    std::thread other([&] {
        const test::CRealtimeGuard own;
        const bool entered = lock.try_lock();               // refused, but not waited for
        EXPECT_FALSE(entered);
        EXPECT_EQ(own.lockWaits(), 0u);
        isReady = true;
        CLockHolder hold(lock);
        waits = own.lockWaits();
    });
    while (!isReady)
        std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    lock.unlock();
    other.join();
    EXPECT_EQ(waits, 1u);
    EXPECT_EQ(guard.lockWaits(), 0u);
}

}
