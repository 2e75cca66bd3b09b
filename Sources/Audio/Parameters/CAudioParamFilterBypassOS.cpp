// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamFilterBypassOS.h"

#include <cmath>

namespace kor
{

double CAudioParamFilterBypassOS::bypassOf(double oversampling, double hostMode) noexcept
{
    const double chosen = std::nearbyint(oversampling);
    const double mode = chosen != 0.0 ? chosen - 1.0 : std::nearbyint(hostMode);
    return mode == 0.0 ? 1.0 : 0.0;
}

void CAudioParamFilterBypassOS::process(std::span<const CSource> sources, std::span<CAudioParam* const> destinations,
                                        const CAudioParamRequest& request, CAudioParamUndoContext* undo)
{
    if (groupOf(request) != 0)
        return;
    writeSole(*destinations[0], request.group,
              bypassOf(sources[0].values.getValue(0, 0), sources[1].values.getValue(0, 0)), undo);
}

}
