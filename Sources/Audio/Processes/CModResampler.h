// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessChain.h"

namespace kor
{

// One end of the part of the graph that runs at 2, 4 or 8 times the host's rate: a chain of stages, each a node that
// doubles or halves the rate and a filter at the higher of its two rates. Up, filters follow: x2, steep, x2, soft, x2,
// soft; down is the mirror. A change of the factor adds or drops stages at the end with the highest rate, without a
// fade; the others keep their memory.
class CModResampler : public CAudioProcessChain
{
public:
    static constexpr int maxStages = 3;

    /// 0 to maxStages, from the values of `mode` (0 "Auto", 1 to 4 for factors 1 to 8) and `host-mode` (0 to 3).
    static int stageCount(double mode, double hostMode) noexcept;

    CError init() override;
    void update() override;

private:
    int presentStages() const noexcept { return static_cast<int>(chain().size() / 2); }
    CError addStage();
    void dropStage();

    const CAudioParamSlot* modeSlot = nullptr;
    const CAudioParamSlot* hostModeSlot = nullptr;
};

}
