// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Processes/CModStatsModule.h"

namespace kor
{

class CAudioVizSlot;

/// The meter of one channel: posts what every frame shows.
class CModMeterModule : public CModStatsModule
{
public:
    void prepare() override;

    /// Posts the frame that has just ended. time: its end, in seconds.
    void endFrame(double time);

private:
    CAudioVizSlot* slot = nullptr; // null without a collector
};

}
