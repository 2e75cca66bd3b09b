// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModMSCoderDef.h"

#include "Audio/Processes/CModMSCoder.h"

namespace kor
{

std::unique_ptr<CAudioProcessBase> CModMSCoderDef::createObject() const
{
    return std::make_unique<CModMSCoder>();
}

}
