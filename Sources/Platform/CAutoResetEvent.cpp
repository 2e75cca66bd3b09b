// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/CAutoResetEvent.h"

namespace kor
{

void CAutoResetEvent::signal()
{
    // Under the lock to the end: the waiter may destroy the event as soon as it sees the signal.
    const std::lock_guard hold(mutex);
    isSignalled = true;
    wakeUp.notify_one();
}

void CAutoResetEvent::wait()
{
    std::unique_lock hold(mutex);
    wakeUp.wait(hold, [this] { return isSignalled; });
    isSignalled = false;
}

void CAutoResetEvent::reset()
{
    const std::lock_guard hold(mutex);
    isSignalled = false;
}

}
