// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioModule.h"
#include "Audio/Processes/CMeterBallistics.h"

namespace kor
{

/// What measures one channel's level, with the node's parameters.
class CModStatsModule : public CAudioModule
{
public:
    void registerParams() override;
    void prepare() override;
    void reset() override { ballistics.reset(); }
    bool update() override;

    CMeterBallistics& meter() noexcept { return ballistics; }

private:
    static constexpr int slotCount = 10;
    const CAudioParamStorage* slots[slotCount] = {};
    CMeterSettings settings;
    CMeterBallistics ballistics;
};

}
