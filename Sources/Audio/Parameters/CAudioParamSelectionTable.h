// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAllocator.h"

#include <cmath>

namespace kor
{

class CAudioParam;

/// What selecting from a registry's list of presets sets, read beforehand, so that the audio thread can do it. Float
/// parameters with real values only. Never changes once it is made.
struct CAudioParamSelectionTable
{
    /// A parameter's whole list: one for every group, or each group's own.
    struct CStep
    {
        CAudioParam* param = nullptr;
        CArray<CArray<double>> lists;

        const CArray<double>& list(int group) const noexcept
        {
            const std::size_t g = group < 0 ? 0 : static_cast<std::size_t>(group);
            return lists[g < lists.size() ? g : 0];
        }
    };

    CArray<CArray<CStep>> presets;
    CArray<CStep> otherwise;                        // for a value that selects none

    /// What the selecting parameter's real value means.
    const CArray<CStep>& stepsOf(double value) const noexcept
    {
        const double index = std::nearbyint(value);
        const bool isThere = index >= 0.0 && index < static_cast<double>(presets.size());
        return isThere ? presets[static_cast<std::size_t>(index)] : otherwise;
    }
};

}
