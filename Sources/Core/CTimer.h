// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObject.h"

#include <memory>

namespace kor
{

class CLoopTimer;

// Sends the event "tick" at a fixed rate, on the thread that created it, out of that thread's event loop; never while that
// thread is still in an earlier tick of this timer. Attributes: `fps`, ticks a second, or `interval`, seconds between
// ticks; the one that was set last counts. It runs from its start on.
class CTimer : public CObject
{
public:
    CTimer();
    ~CTimer() override;
    static void initClass(CObjectClassInfo& info);

    /// "Timer window creation error %1." when the thread's event loop could not be made.
    CError init() override;
    void uninit() override;

    /// Seconds between ticks; 0 before the first rate is given.
    double interval() const noexcept { return intervalSeconds; }
    bool isTimerActive() const noexcept { return isActive; }

private:
    CError onFps(CAttrValue& value);
    CError onInterval(CAttrValue& value);
    static void onDue(void* context);
    void apply(double seconds);

    std::unique_ptr<CLoopTimer> timer;
    double intervalSeconds = 0.0;
    bool isActive = false;
};

}
