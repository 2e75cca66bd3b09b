// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioProcessDef.h"

#include "Audio/Graph/CAudioProcess.h"

namespace kor
{

CError CAudioProcessDef::init()
{
    KOR_TRY(CAudioProcessDefBase::init());
    autoLinks = getAttrBool("is-auto-links");
    return {};
}

std::unique_ptr<CAudioProcessBase> CAudioProcessDef::createObject() const
{
    return std::make_unique<CAudioProcess>();
}

}
