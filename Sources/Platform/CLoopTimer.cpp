// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/CLoopTimer.h"

#include "Platform/CEventLoop.h"

#include <algorithm>
#include <utility>

namespace kor
{

CLoopTimer::CLoopTimer(std::shared_ptr<CEventLoop> servingLoop, Handler timerHandler, void* handlerContext)
    : loop(std::move(servingLoop)), handler(timerHandler), context(handlerContext)
{
    const CLockHolder hold(loop->lock);
    loop->timers.push_back(this);
}

CLoopTimer::~CLoopTimer()
{
    const CLockHolder hold(loop->lock);
    std::erase(loop->timers, this);
    loop->setDeadline();
}

void CLoopTimer::start(std::chrono::milliseconds interval)
{
    const CLockHolder hold(loop->lock);
    distance = std::max(interval, std::chrono::milliseconds(1));
    deadline = std::chrono::steady_clock::now() + distance;
    loop->setDeadline();
}

void CLoopTimer::stop()
{
    const CLockHolder hold(loop->lock);
    deadline = CWakeDescriptor::never;
    loop->setDeadline();
}

}
