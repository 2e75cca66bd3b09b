// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterParams.h"
#include "Audio/Parameters/CAudioParamStorage.h"

#include <array>
#include <climits>
#include <cmath>

namespace kor
{

class CAudioFilterGen;

/// What a filter module was last designed from.
struct CModFilterSettings
{
    static constexpr int noIndex = INT_MIN;

    int index = noIndex;                            // of the generator; noIndex before the first update
    const CAudioFilterGen* generator = nullptr;     // null outside the array: the module passes its input
    std::array<double, CAudioFilterParamNames::maxCount> values{};
    int valueCount = 0;

    /// Values count as equal by exact comparison.
    bool operator==(const CModFilterSettings&) const = default;

    std::span<const double> span() const noexcept { return {values.data(), static_cast<std::size_t>(valueCount)}; }

    /// Nearest integer, of ties the even one, within the range of an int.
    static int roundToInt(double value) noexcept
    {
        const double rounded = std::nearbyint(value);
        return rounded >= -1e9 && rounded <= 1e9 ? static_cast<int>(rounded) : noIndex + 1;
    }
};

}
