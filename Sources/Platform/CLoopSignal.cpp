// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/CLoopSignal.h"

#include "Platform/CEventLoop.h"

#include <utility>

namespace kor
{

CLoopSignal::CLoopSignal(std::shared_ptr<CEventLoop> servingLoop, Handler signalHandler, void* handlerContext)
    : loop(std::move(servingLoop)), handler(signalHandler), context(handlerContext)
{
    const CLockHolder hold(loop->lock);
    loop->signals.push_back(this);
}

CLoopSignal::~CLoopSignal()
{
    close();
}

int CLoopSignal::raise() noexcept
{
    // Released to the loop's exchange: what was queued before is seen by the handler. Acquired from it: a raise that
    // finds the flag down comes after the handler's start, which the write then repeats.
    if (isRaised.exchange(true, std::memory_order_acq_rel))
        return 0;
    const int failure = loop->waker.wake();
    if (failure != 0)
        isRaised.store(false, std::memory_order_relaxed);
    return failure;
}

void CLoopSignal::close()
{
    const CLockHolder hold(loop->lock);
    std::erase(loop->signals, this);
}

}
