// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/CLock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <pthread.h>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>

namespace kor
{

namespace
{

/// What the system runs a thread of this process at: 20 for a normal thread, below 0 for a real-time one.
int priorityOf(pid_t thread)
{
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::istringstream fields(text.substr(text.rfind(')') + 1));
    std::string field;
    for (int i = 3; i <= 18; ++i)                   // numbered as in proc(5); the name was the second
        fields >> field;
    return std::stoi(field);
}

}

TEST(Lock, LendsTheHolderThePriorityOfTheAudioThreadThatWaits)
{
    CLock lock;
    std::atomic<bool> isRefused{false};
    const int before = priorityOf(gettid());
    int lent = before;
    lock.lock();
    lock.lock();
    std::thread audio([&] {
        sched_param wish = {};
        wish.sched_priority = 10;
        isRefused = pthread_setschedparam(pthread_self(), SCHED_FIFO, &wish) != 0;
        CLockHolder hold(lock);
    });
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (lent == before && !isRefused && std::chrono::steady_clock::now() < end)
        lent = priorityOf(gettid());
    lock.unlock();
    const int nested = priorityOf(gettid());
    lock.unlock();
    audio.join();
    if (isRefused)
        GTEST_SKIP() << "no right to real-time priority";
    EXPECT_EQ(lent, -11);
    EXPECT_EQ(nested, -11) << "one of two entries left";
    EXPECT_EQ(priorityOf(gettid()), before);
}

}
