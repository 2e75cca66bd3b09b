// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModRouterDef.h"

#include "Audio/Processes/CModRouter.h"

namespace kor
{

CError CModRouterDef::init()
{
    KOR_TRY(CAudioProcessDefBase::init());
    standsAtOutput = getAttrBool("is-output");
    return {};
}

std::unique_ptr<CAudioProcessBase> CModRouterDef::createObject() const
{
    return std::make_unique<CModRouter>();
}

}
