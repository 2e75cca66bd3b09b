// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessBase.h"

namespace kor
{

// The end of the graph: whoever owns it takes the finished block from its port 0, and the environment learns the
// latency that reaches it.
class CModOutput : public CAudioProcessBase
{
public:
    void update() override;

    /// Aligns and mixes what has arrived into the channels of inputs().port(0), for the owner to take.
    void process() override;
};

}
