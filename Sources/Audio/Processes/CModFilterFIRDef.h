// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Processes/CModFilterDefBase.h"

namespace kor
{

/// Definition of a long FIR filter (`audio:modFilterFIR`).
class CModFilterFIRDef : public CModFilterDefBase
{
public:
    std::unique_ptr<CAudioProcessBase> createObject() const override;

protected:
    bool isOwnParam(const CStringBuf& paramName) const override;
};

}
