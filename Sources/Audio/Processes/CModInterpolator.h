// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessBase.h"

namespace kor
{

// Doubles the sample rate and the length of blocks by a zero behind every sample. The samples are doubled too, which
// keeps the level once a filter has taken the image away.
class CModInterpolator : public CAudioProcessBase
{
public:
    void process() override;

protected:
    /// The latency in samples doubles with the rate.
    void describeOutputs() override;
};

}
