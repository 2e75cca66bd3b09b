// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CWinSizeParamListener.h"

#include "Core/CApplication.h"

#include <algorithm>
#include <cmath>

namespace kor
{

namespace
{

int scaled(double points)
{
    return static_cast<int>(std::lround(points * CApplication::uiScale()));
}

}

CWinSizeParamListener::CWinSizeParamListener(CAudioParam& param, CSize smallestPoints)
    : parameter(param), smallest(smallestPoints)
{
    parameter.addHook(*this);
}

CWinSizeParamListener::~CWinSizeParamListener()
{
    parameter.removeHook(*this);
}

CWinSizeParamListener::CSize CWinSizeParamListener::smallestSize() const
{
    return {scaled(smallest.width), scaled(smallest.height)};
}

CWinSizeParamListener::CSize CWinSizeParamListener::wantedSize() const
{
    const CSize least = smallestSize();
    CLockHolder hold(parameter.lock());
    return {std::max(scaled(parameter.values().getValue(0, 0)), least.width),
            std::max(scaled(parameter.values().getValue(0, 1)), least.height)};
}

void CWinSizeParamListener::setSize(CSize size)
{
    if (size == wantedSize())
        return;
    const double values[] = {std::round(size.width / CApplication::uiScale()),
                             std::round(size.height / CApplication::uiScale())};
    CAudioParamRequest request;
    request.elementCount = 2;
    request.values = values;
    parameter.change(request);
}

void CWinSizeParamListener::onParamChange(const CAudioParamRequest&, CAudioParamUndoContext*)
{
    CAudioParamChangeScope::defer(
        [this]
        {
            if (handler)
                handler(wantedSize());
        });
}

}
