// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <hwy/targets.h>

#include <vector>

namespace kor
{

/// What `choose` gives for every instruction set that this processor can run and the program was built for, the best
/// first. choose: HWY_DYNAMIC_DISPATCH of a builder in a lambda. While it runs no other thread may use functions that
/// choose by instruction set.
template <class Choose>
auto allKernelBuilds(Choose choose)
{
    std::vector<decltype(choose())> builds;
    for (const std::int64_t target : hwy::SupportedAndGeneratedTargets())
    {
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
        builds.push_back(choose());
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    return builds;
}

}
