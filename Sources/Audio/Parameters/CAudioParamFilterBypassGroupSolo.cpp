// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamFilterBypassGroupSolo.h"

namespace kor
{

double CAudioParamFilterBypassGroupSolo::bypassOf(const CAudioParamStorage& solo) noexcept
{
    for (int g = 0; g < solo.groupCount(); ++g)
        if (solo.elementCount(g) > 0 && solo.getValue(g, 0) >= 0.5)
            return 0.0;
    return 1.0;
}

void CAudioParamFilterBypassGroupSolo::process(std::span<const CSource> sources,
                                               std::span<CAudioParam* const> destinations,
                                               const CAudioParamRequest& request, CAudioParamUndoContext* undo)
{
    writeSole(*destinations[0], request.group, bypassOf(sources[0].values), undo);
}

}
