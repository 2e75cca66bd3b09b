// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessDefBase.h"
#include "Audio/Processes/CMeterBallistics.h"

namespace kor
{

/// Definition of a level meter (`audio:modMeter`).
class CModMeterDef : public CAudioProcessDefBase
{
public:
    CError init() override;
    std::unique_ptr<CAudioProcessBase> createObject() const override;

    const CMeterKind& kind() const noexcept { return meterKind; }

private:
    CMeterKind meterKind;
};

}
