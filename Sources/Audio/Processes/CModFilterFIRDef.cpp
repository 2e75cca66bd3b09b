// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModFilterFIRDef.h"

#include "Audio/Processes/CModFilterFIR.h"

namespace kor
{

std::unique_ptr<CAudioProcessBase> CModFilterFIRDef::createObject() const
{
    return std::make_unique<CModFilterFIR>();
}

bool CModFilterFIRDef::isOwnParam(const CStringBuf& paramName) const
{
    return CModFilterDefBase::isOwnParam(paramName) || paramName.equals("latency") || paramName.equals("fixsr");
}

}
