// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamFilterBypassMS.h"

#include <cmath>
#include <cstdint>

namespace kor
{

double CAudioParamFilterBypassMS::bypassOf(std::span<const double> pairs) noexcept
{
    std::uint64_t seen = 0; // bit n: pair n has a member
    for (const double value : pairs)
    {
        const double n = std::nearbyint(value);
        if (!(n >= 1.0 && n <= 63.0))
            continue;
        const std::uint64_t bit = std::uint64_t(1) << static_cast<unsigned>(n);
        if ((seen & bit) != 0)
            return 0.0;
        seen |= bit;
    }
    return 1.0;
}

void CAudioParamFilterBypassMS::process(std::span<const CSource> sources, std::span<CAudioParam* const> destinations,
                                        const CAudioParamRequest& request, CAudioParamUndoContext* undo)
{
    writeSole(*destinations[0], request.group, bypassOf(sources[0].values.values(groupOf(request))), undo);
}

}
