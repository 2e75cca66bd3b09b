// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessDefBase.h"

namespace kor
{

// A junction (`audio:modNode`): a named place in the wiring of a container that others link to. Containers never make
// a node of it.
class CModNodeDef : public CAudioProcessDefBase
{
public:
    std::unique_ptr<CAudioProcessBase> createObject() const override;
    bool isJunction() const override { return true; }
};

}
