// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CModNodeDef.h"

#include "Audio/Graph/CModNode.h"

namespace kor
{

std::unique_ptr<CAudioProcessBase> CModNodeDef::createObject() const
{
    return std::make_unique<CModNode>();
}

}
