// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessDefBase.h"

namespace kor
{

/// A node that stands beside the copies of a multiband definition: which attribute names its definition, and what its
/// name ends in behind that of the wrapper.
struct CMultibandPart
{
    CStringBuf CAudioProcessTraits::*definition;
    const char* suffix;
};

constexpr CMultibandPart multibandPre = {&CAudioProcessTraits::multibandPre, ".pre"};
constexpr CMultibandPart multibandLp = {&CAudioProcessTraits::multibandLp, ".lp"};
constexpr CMultibandPart multibandHp = {&CAudioProcessTraits::multibandHp, ".hp"};
constexpr CMultibandPart multibandParts[] = {multibandPre, multibandLp, multibandHp};

constexpr const char* multibandCopySuffix = ".mod";

}
