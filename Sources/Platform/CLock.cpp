// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/CLock.h"

#include <cstdio>
#include <cstdlib>

namespace kor
{

namespace
{

thread_local unsigned waitCount = 0;

#ifndef NDEBUG
constinit CLockPairs settledPairs;
constinit thread_local CLockOrder order(settledPairs);
constinit std::atomic<std::uint32_t> lockCount{0};

void checkOrder(std::uint32_t lock, CLockRank rank)
{
    const std::string refusal = order.refusal(lock, rank);
    if (refusal.empty())
        return;
    std::fprintf(stderr, "%s\n", refusal.c_str());
    std::abort();
}
#endif

}

#ifndef NDEBUG
CLock::CLock(CLockRank place) : number(++lockCount), rank(place) {}
#endif

void CLock::lock()
{
#ifndef NDEBUG
    checkOrder(number, rank);
    order.enter(number, rank);
#endif
    if (mutex.try_lock())
        return;
    ++waitCount;
    mutex.lock();
}

bool CLock::try_lock()
{
#ifndef NDEBUG
    checkOrder(number, rank);
#endif
    if (!mutex.try_lock())
        return false;
#ifndef NDEBUG
    order.enter(number, rank);
#endif
    return true;
}

void CLock::unlock()
{
#ifndef NDEBUG
    order.leave(number);
#endif
    mutex.unlock();
}

unsigned CLock::waitsOfThisThread() noexcept
{
    return waitCount;
}

}
