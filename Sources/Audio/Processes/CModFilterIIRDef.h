// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Processes/CModFilterDefBase.h"

namespace kor
{

/// Definition of a recursive filter (`audio:modFilterIIR`).
class CModFilterIIRDef : public CModFilterDefBase
{
public:
    std::unique_ptr<CAudioProcessBase> createObject() const override;
};

}
