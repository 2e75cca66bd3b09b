// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>

namespace kor
{

/// The oversampling that the choice "Auto" stands for, as an index of modes (0 none, 1 to 3 for 2x, 4x, 8x): in real
/// time what the product says; offline, where time is no matter, the user's level, one more at low rates and one less
/// at high ones.
constexpr int hostOversampling(bool isOffline, double rate, int offlineLevel, int realtimeMode) noexcept
{
    if (!isOffline)
        return realtimeMode;
    const int level = std::clamp(offlineLevel, 0, 3);
    return std::clamp(level + (rate < 72000.0 ? 1 : 0) - (rate >= 144000.0 ? 1 : 0), 0, 3);
}

}
