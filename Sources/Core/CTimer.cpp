// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CTimer.h"

#include "Core/CLog.h"
#include "Core/CRoundingGuard.h"
#include "Platform/CEventLoop.h"
#include "Platform/CLoopTimer.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kor
{
namespace
{

constexpr double tolerance = std::numeric_limits<double>::epsilon();
constexpr double lowest = 0.0001;           // rates and intervals up to here count as not given

/// The rates of the window have shorter intervals than they say, so that the work of a frame leaves them the rate.
double intervalOfFps(double fps)
{
    constexpr struct
    {
        double fps;
        double seconds;
    } fixed[] = {{60.0, 0.01}, {40.0, 0.015}, {30.0, 0.02}};
    for (const auto& row : fixed)
        if (std::abs(fps - row.fps) <= tolerance)
            return row.seconds;
    return 1.0 / fps;
}

}

CTimer::CTimer() = default;
CTimer::~CTimer() = default;

void CTimer::initClass(CObjectClassInfo& info)
{
    CObject::initClass(info);
    info.addAttr("fps", attrMethod<&CTimer::onFps>);
    info.addAttr("interval", attrMethod<&CTimer::onInterval>);
}

CError CTimer::init()
{
    KOR_TRY(CObject::init());
    std::shared_ptr<CEventLoop> loop = CEventLoop::ofThisThread();
    if (loop->error() != 0)
        return KOR_FAIL("@korstr_CTimer_init_Loop Timer window creation error %1.", loop->error());
    timer = std::make_unique<CLoopTimer>(std::move(loop), &CTimer::onDue, this);
    return {};
}

void CTimer::uninit()
{
    timer.reset();
    isActive = false;
    CObject::uninit();
}

CError CTimer::onFps(CAttrValue& value)
{
    const double fps = value.asDouble();
    apply(intervalOfFps(fps > lowest ? fps : 30.0));
    return {};
}

CError CTimer::onInterval(CAttrValue& value)
{
    const double seconds = value.asDouble();
    apply(seconds > lowest ? seconds : 1.0 / 30.0);
    return {};
}

void CTimer::apply(double seconds)
{
    if (timer == nullptr || std::abs(seconds - intervalSeconds) <= tolerance)
        return;
    intervalSeconds = seconds;
    constexpr double longest = std::numeric_limits<std::int32_t>::max();     // 24 days
    timer->start(std::chrono::milliseconds(std::llround(std::min(seconds * 1000.0, longest))));
    isActive = true;
}

void CTimer::onDue(void* context)
{
    const CRoundingGuard rounding;
    if (CError failure = static_cast<CTimer*>(context)->sendEvent("tick"))
        CLog::writeError(std::move(failure));
}

}
