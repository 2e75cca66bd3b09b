// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioModule.h"
#include "Audio/Processes/CDenormNoise.h"

namespace kor
{

/// The gain of one channel. Muted it puts out the noise against denormals; at unity it passes the buffer.
class CModGainModule : public CAudioModule
{
public:
    void registerParams() override;
    void prepare() override { noise.takeSeed(); }
    bool update() override;
    void process(const double* in, double* out, int count) override;
    int passThroughPort() const override { return isMuted || isScaling ? -1 : 0; }
    bool hasSameSettings(const CAudioModule& current) const override;

private:
    const CAudioParamStorage* gainSlot = nullptr;
    const CAudioParamStorage* muteSlot = nullptr;
    const CAudioParamStorage* invertSlot = nullptr;
    double gain = 1.0; // linear, with the polarity; 0 while muted
    bool isMuted = false;
    bool isScaling = false; // the gain differs from 1
    CDenormNoise noise;
};

}
