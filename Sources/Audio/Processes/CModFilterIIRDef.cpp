// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModFilterIIRDef.h"

#include "Audio/Processes/CModFilterIIR.h"

namespace kor
{

std::unique_ptr<CAudioProcessBase> CModFilterIIRDef::createObject() const
{
    return std::make_unique<CModFilterIIR>();
}

}
