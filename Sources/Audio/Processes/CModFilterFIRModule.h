// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterSpec.h"
#include "Audio/Graph/CAudioModule.h"
#include "Audio/Processes/CModFilterSettings.h"

#include <memory>

namespace kor
{

class CModFilterDefBase;
class CPartitionedConvolver;

// The FIR filter of one channel, by convolution in blocks. A new design builds a new convolver, which allocates: its
// parameters follow the product's settings, not the music. With `fixsr` on the design is made for 44100 Hz at every
// rate, so that a resampling filter keeps its shape relative to the rate.
class CModFilterFIRModule : public CAudioModule
{
public:
    CModFilterFIRModule();
    ~CModFilterFIRModule() override;

    void registerParams() override;
    void reset() override;

    /// Reports "FIR filter combining was not implemented yet!" for a design of several stages, and keeps what runs.
    bool update() override;
    void process(const double* in, double* out, int count) override;
    int latency() const override { return totalLatency; }
    int passThroughPort() const override { return convolver == nullptr ? 0 : -1; }
    bool hasSameSettings(const CAudioModule& current) const override;

private:
    struct CSettings
    {
        CModFilterSettings filter;
        int latency = 0;                // log2 of the first block
        bool isRateFixed = false;
        bool operator==(const CSettings&) const = default;
    };

    void build();

    const CModFilterDefBase* filterDef = nullptr;
    const CAudioParamStorage* indexSlot = nullptr;
    const CAudioParamStorage* latencySlot = nullptr;
    const CAudioParamStorage* fixedRateSlot = nullptr;
    std::array<const CAudioParamStorage*, CAudioFilterParamNames::maxCount> designSlots{};
    CSettings settings;
    CAudioFilterSpec spec;
    std::unique_ptr<CPartitionedConvolver> convolver;   // null: the input passes
    int totalLatency = 0;
};

}
