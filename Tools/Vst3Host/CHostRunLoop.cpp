// SPDX-License-Identifier: GPL-3.0-or-later
#include "Vst3Host/CHostRunLoop.h"

#include <algorithm>
#include <poll.h>

namespace kor
{

using namespace Steinberg;

tresult CHostRunLoop::registerEventHandler(Linux::IEventHandler* handler, Linux::FileDescriptor descriptor)
{
    if (handler == nullptr || descriptor < 0)
        return kInvalidArgument;
    events.push_back({handler, descriptor});
    return kResultOk;
}

tresult CHostRunLoop::unregisterEventHandler(Linux::IEventHandler* handler)
{
    const auto count = std::erase_if(events, [&](const CEventEntry& entry) { return entry.handler.get() == handler; });
    return count > 0 ? kResultOk : kResultFalse;
}

tresult CHostRunLoop::registerTimer(Linux::ITimerHandler* handler, Linux::TimerInterval milliseconds)
{
    // Longer than anybody runs, and short enough for the clock's arithmetic.
    constexpr Linux::TimerInterval longest = 1'000'000'000;
    if (handler == nullptr || milliseconds == 0)
        return kInvalidArgument;
    const Clock::duration interval = std::chrono::milliseconds(std::min(milliseconds, longest));
    timers.push_back({handler, interval, Clock::now() + interval});
    return kResultOk;
}

tresult CHostRunLoop::unregisterTimer(Linux::ITimerHandler* handler)
{
    const auto count = std::erase_if(timers, [&](const CTimerEntry& entry) { return entry.handler.get() == handler; });
    return count > 0 ? kResultOk : kResultFalse;
}

void CHostRunLoop::run(int milliseconds)
{
    if (isEmpty())
        return;
    callEvents(waitFor(milliseconds));
    callTimers();
}

int CHostRunLoop::waitFor(int milliseconds) const
{
    auto wait = std::chrono::milliseconds(milliseconds);
    const Clock::time_point now = Clock::now();
    for (const CTimerEntry& timer : timers)
        wait = std::min(wait, std::chrono::ceil<std::chrono::milliseconds>(std::max(timer.due - now, Clock::duration())));
    return static_cast<int>(wait.count());
}

void CHostRunLoop::callEvents(int milliseconds)
{
    std::vector<pollfd> waiting;
    for (const CEventEntry& entry : events)
        waiting.push_back({entry.descriptor, POLLIN, 0});
    const std::vector<CEventEntry> called = events;
    if (::poll(waiting.data(), waiting.size(), milliseconds) <= 0)
        return;
    for (std::size_t i = 0; i < called.size(); ++i)
    {
        const bool isStillThere = std::any_of(events.begin(), events.end(), [&](const CEventEntry& entry)
        { return entry.handler == called[i].handler && entry.descriptor == called[i].descriptor; });
        if (waiting[i].revents != 0 && isStillThere)
            called[i].handler->onFDIsSet(called[i].descriptor);
    }
}

void CHostRunLoop::callTimers()
{
    const Clock::time_point now = Clock::now();
    const std::vector<CTimerEntry> called = timers;
    for (const CTimerEntry& timer : called)
    {
        const auto entry = std::find_if(timers.begin(), timers.end(),
                                        [&](const CTimerEntry& other) { return other.handler == timer.handler; });
        if (entry == timers.end() || timer.due > now)
            continue;
        entry->due = now + entry->interval;
        timer.handler->onTimer();
    }
}

}
