// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/CEventLoop.h"

#include "Platform/CLoopSignal.h"
#include "Platform/CLoopTimer.h"

#include <algorithm>
#include <limits>
#include <map>
#include <thread>

namespace kor
{
namespace
{

// Not a variable of each thread: its end would keep the library in memory until the host's thread ends.
struct CLoopTable
{
    CLock lock;
    std::map<std::thread::id, std::weak_ptr<CEventLoop>> loops;
};

CLoopTable& table()
{
    static CLoopTable& instance = *new CLoopTable;
    return instance;
}

template <class T>
bool contains(const std::vector<T*>& list, const T* entry)
{
    return std::find(list.begin(), list.end(), entry) != list.end();
}

}

std::shared_ptr<CEventLoop> CEventLoop::ofThisThread()
{
    CLoopTable& all = table();
    const CLockHolder hold(all.lock);
    std::weak_ptr<CEventLoop>& entry = all.loops[std::this_thread::get_id()];
    if (std::shared_ptr<CEventLoop> present = entry.lock())
        return present;
    std::shared_ptr<CEventLoop> made(new CEventLoop);
    entry = made;
    return made;
}

CEventLoop::~CEventLoop()
{
    CLoopTable& all = table();
    const CLockHolder hold(all.lock);
    std::erase_if(all.loops, [](const auto& entry) { return entry.second.expired(); });
}

double CEventLoop::secondsToDeadline() const
{
    const CLockHolder hold(lock);
    const CTime first = firstDeadline();
    if (first == CWakeDescriptor::never)
        return std::numeric_limits<double>::infinity();
    return std::max(0.0, std::chrono::duration<double>(first - std::chrono::steady_clock::now()).count());
}

void CEventLoop::run(double seconds)
{
    waker.wait(seconds);
    dispatch();
}

void CEventLoop::dispatch()
{
    // Ahead of the flags: a raise that comes after its flag was looked at makes the descriptor readable again.
    waker.clear();
    dispatchSignals();
    dispatchTimers();
    const CLockHolder hold(lock);
    setDeadline();
}

// Handlers may close signals and timers, their own included, and make others; so each step looks its entry up again.
void CEventLoop::dispatchSignals()
{
    std::unique_lock hold(lock);
    const std::vector<CLoopSignal*> snapshot = signals;
    for (CLoopSignal* signal : snapshot)
    {
        if (!contains(signals, signal) || !signal->isRaised.exchange(false, std::memory_order_acq_rel))
            continue;
        const CLoopSignal::Handler handler = signal->handler;
        void* const context = signal->context;
        hold.unlock();
        handler(context);
        hold.lock();
    }
}

void CEventLoop::dispatchTimers()
{
    std::unique_lock hold(lock);
    const CTime now = std::chrono::steady_clock::now();
    const std::vector<CLoopTimer*> snapshot = timers;
    for (CLoopTimer* timer : snapshot)
    {
        if (!contains(timers, timer) || timer->deadline > now)
            continue;
        timer->deadline += ((now - timer->deadline) / timer->distance + 1) * timer->distance;
        if (timer->isInside)
            continue;
        timer->isInside = true;
        const CLoopTimer::Handler handler = timer->handler;
        void* const context = timer->context;
        hold.unlock();
        handler(context);
        hold.lock();
        if (contains(timers, timer))
            timer->isInside = false;
    }
}

CEventLoop::CTime CEventLoop::firstDeadline() const
{
    CTime first = CWakeDescriptor::never;
    for (const CLoopTimer* timer : timers)
        first = std::min(first, timer->deadline);
    return first;
}

void CEventLoop::setDeadline()
{
    waker.setDeadline(firstDeadline());
}

}
