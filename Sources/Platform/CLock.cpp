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
thread_local CLockOrder order;

void checkOrder(const CLock* lock, CLockRank rank)
{
    const std::string refusal = order.refusal(lock, rank);
    if (refusal.empty())
        return;
    std::fprintf(stderr, "%s\n", refusal.c_str());
    std::abort();
}
#endif

}

void CLock::lock()
{
#ifndef NDEBUG
    checkOrder(this, rank);
    order.enter(this, rank);
#endif
    if (mutex.try_lock())
        return;
    ++waitCount;
    mutex.lock();
}

bool CLock::try_lock()
{
#ifndef NDEBUG
    checkOrder(this, rank);
#endif
    if (!mutex.try_lock())
        return false;
#ifndef NDEBUG
    order.enter(this, rank);
#endif
    return true;
}

void CLock::unlock()
{
#ifndef NDEBUG
    order.leave(this);
#endif
    mutex.unlock();
}

unsigned CLock::waitsOfThisThread() noexcept
{
    return waitCount;
}

}
