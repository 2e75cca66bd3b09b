// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModMeterDef.h"

#include "Audio/Processes/CModMeter.h"

namespace kor
{

CError CModMeterDef::init()
{
    KOR_TRY(CAudioProcessDefBase::init());
    meterKind.isDiff = getAttrBool("is-diff");
    meterKind.isCompression = getAttrBool("is-compression");
    meterKind.isInverted = getAttrBool("is-inverted");
    return {};
}

std::unique_ptr<CAudioProcessBase> CModMeterDef::createObject() const
{
    return std::make_unique<CModMeter>();
}

}
