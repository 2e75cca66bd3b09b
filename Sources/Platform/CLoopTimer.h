// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/CWakeDescriptor.h"

#include <memory>

namespace kor
{

class CEventLoop;

// Calls a handler on the thread of an event loop again and again, at a fixed distance counted from the start. Calls that
// came too late are left out, not made up for, and a call is left out while the timer's handler is still running
// further up the stack. The loop's thread.
class CLoopTimer
{
public:
    using Handler = void (*)(void* context);

    CLoopTimer(std::shared_ptr<CEventLoop> loop, Handler handler, void* context);
    ~CLoopTimer();
    CLoopTimer(const CLoopTimer&) = delete;
    CLoopTimer& operator=(const CLoopTimer&) = delete;

    /// First call after `interval` (at least 1 ms), then at that distance; what ran before is stopped.
    void start(std::chrono::milliseconds interval);
    void stop();

private:
    friend class CEventLoop;

    const std::shared_ptr<CEventLoop> loop;
    const Handler handler;
    void* const context;
    std::chrono::milliseconds distance{0};
    CWakeDescriptor::CTime deadline = CWakeDescriptor::never;
    bool isInside = false;                  // its handler is running
};

}
