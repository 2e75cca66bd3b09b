// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CRoundingGuard.h"

#include <cfenv>

namespace kor
{

CRoundingGuard::CRoundingGuard() noexcept : formerMode(std::fegetround())
{
    if (formerMode != FE_TONEAREST)
        std::fesetround(FE_TONEAREST);
}

CRoundingGuard::~CRoundingGuard()
{
    // A negative value means that the mode could not be read.
    if (formerMode != FE_TONEAREST && formerMode >= 0)
        std::fesetround(formerMode);
}

}
