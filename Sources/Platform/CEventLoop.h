// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/CLock.h"
#include "Platform/CWakeDescriptor.h"

#include <memory>
#include <vector>

namespace kor
{

class CLoopSignal;
class CLoopTimer;

// What runs on the user interface thread between the host's own business: signals raised by other threads, and timers.
// It never runs by itself. The host's run loop watches the descriptor and calls dispatch when it is readable, or when
// the deadline has come; a program without a host calls run. There is one loop per thread, made when it is first asked
// for and gone with the last who holds it.
class CEventLoop
{
public:
    /// The calling thread's loop.
    static std::shared_ptr<CEventLoop> ofThisThread();

    CEventLoop(const CEventLoop&) = delete;
    CEventLoop& operator=(const CEventLoop&) = delete;
    ~CEventLoop();

    /// The system's error number if the loop could not be made, and nothing will ever run on it; 0 otherwise.
    int error() const noexcept { return waker.error(); }

    /// Readable whenever dispatch has something to do, timers included.
    int descriptor() const noexcept { return waker.descriptor(); }

    /// Seconds until the next timer is due: 0 if one is late, infinite without timers. Any thread.
    double secondsToDeadline() const;

    /// Runs what has been raised and what is due by now, each at most once, and returns. A handler may call it again.
    /// The loop's own thread.
    void dispatch();

    /// Sleeps until there is something to do, at most `seconds`, and dispatches. The loop's own thread.
    void run(double seconds);

private:
    friend class CLoopSignal;
    friend class CLoopTimer;
    using CTime = CWakeDescriptor::CTime;

    CEventLoop() = default;
    void dispatchSignals();
    void dispatchTimers();
    CTime firstDeadline() const;
    void setDeadline();

    CWakeDescriptor waker;
    mutable CLock lock;                     // the lists and the timers' deadlines; not held while a handler runs
    std::vector<CLoopSignal*> signals;      // in order of creation, as are the timers
    std::vector<CLoopTimer*> timers;
};

}
