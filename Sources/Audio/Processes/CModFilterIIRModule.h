// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterStages.h"
#include "Audio/Graph/CAudioModule.h"
#include "Audio/Processes/CModFilterSettings.h"

namespace kor
{

class CModFilterDefBase;

// The recursive filter of one channel. A change of a design parameter designs anew and lets the running sections glide
// there; another generator starts at once, since the crossfade between modules covers it.
class CModFilterIIRModule : public CAudioModule
{
public:
    void registerParams() override;
    void prepare() override;
    void reset() override;
    bool update() override;
    void process(const double* in, double* out, int count) override;
    int passThroughPort() const override { return stages.isEmpty() ? 0 : -1; }
    bool hasSameSettings(const CAudioModule& current) const override;

private:
    const CModFilterDefBase* filterDef = nullptr;
    const CAudioParamStorage* indexSlot = nullptr;
    std::array<const CAudioParamStorage*, CAudioFilterParamNames::maxCount> designSlots{};
    CModFilterSettings settings;
    CAudioFilterSpec spec;
    CAudioFilterStages stages;
};

}
