// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioModule.h"
#include "Audio/Processes/CDenormNoise.h"

namespace kor
{

// The switch of one channel. Enabled it takes port 1, or falls silent where nothing is connected there; it also falls
// silent while groups other than its own are in solo. Silence is the noise against denormals.
class CModBypassModule : public CAudioModule
{
public:
    void registerParams() override;
    void prepare() override { noise.takeSeed(); }
    bool update() override;
    bool canBeNeutral() const override { return true; }
    void startNeutral() override;
    void process(const double* in, double* out, int count) override;
    int passThroughPort() const override;
    bool hasSameSettings(const CAudioModule& current) const override;

private:
    bool mutesForSolo() const;

    const CAudioParamStorage* enableSlot = nullptr;
    const CAudioParamStorage* soloSlot = nullptr; // of all groups
    bool pass = true; // port 0 goes through
    bool mute = false;
    CDenormNoise noise;
};

}
