// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessDefBase.h"

namespace kor
{

// Definition of the graph's end (`audio:modOutput`).
class CModOutputDef : public CAudioProcessDefBase
{
public:
    std::unique_ptr<CAudioProcessBase> createObject() const override;
};

}
