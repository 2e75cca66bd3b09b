// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Vst3Host/CHostObject.h"

#include "pluginterfaces/base/smartpointer.h"
#include "pluginterfaces/gui/iplugview.h"

#include <chrono>
#include <vector>

namespace kor
{

// The host's event loop as it is offered to plug-ins: descriptors and timers. It runs only while run() does, on the
// thread that owns it; handlers may register and leave from within their calls.
class CHostRunLoop : public CHostObject<Steinberg::Linux::IRunLoop>
{
public:
    Steinberg::tresult PLUGIN_API registerEventHandler(Steinberg::Linux::IEventHandler* handler,
                                                       Steinberg::Linux::FileDescriptor descriptor) override;
    Steinberg::tresult PLUGIN_API unregisterEventHandler(Steinberg::Linux::IEventHandler* handler) override;
    Steinberg::tresult PLUGIN_API registerTimer(Steinberg::Linux::ITimerHandler* handler,
                                                Steinberg::Linux::TimerInterval milliseconds) override;
    Steinberg::tresult PLUGIN_API unregisterTimer(Steinberg::Linux::ITimerHandler* handler) override;

    /// Calls whatever is due; waits for the first event up to `milliseconds` (0 or more) when nothing is. Returns at
    /// once when nobody has registered.
    void run(int milliseconds);

    bool isEmpty() const noexcept { return events.empty() && timers.empty(); }

private:
    using Clock = std::chrono::steady_clock;

    struct CEventEntry
    {
        Steinberg::IPtr<Steinberg::Linux::IEventHandler> handler;
        int descriptor;
    };

    struct CTimerEntry
    {
        Steinberg::IPtr<Steinberg::Linux::ITimerHandler> handler;
        Clock::duration interval;
        Clock::time_point due;
    };

    int waitFor(int milliseconds) const;
    void callEvents(int milliseconds);
    void callTimers();

    std::vector<CEventEntry> events;
    std::vector<CTimerEntry> timers;
};

}
