// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CModOutputDef.h"

#include "Audio/Graph/CModOutput.h"

namespace kor
{

std::unique_ptr<CAudioProcessBase> CModOutputDef::createObject() const
{
    return std::make_unique<CModOutput>();
}

}
