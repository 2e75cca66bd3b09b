// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "pluginterfaces/vst/ivstaudioprocessor.h"
#include "pluginterfaces/vst/ivstcomponent.h"

#include <span>
#include <vector>

namespace kor
{

// The sample buffers of all buses of one direction as `process` takes them: those of the first bus are the host's, the
// others get memory of their own, which is silent for inputs and thrown away for outputs.
class CBusBuffers
{
public:
    /// channels: of each bus. maxBlock: samples of the largest block. Not while processing.
    void prepare(const std::vector<int>& channels, int maxBlock);

    /// Points the first bus to the host's samples; channels that the host does not give have the spare memory.
    void setMain(std::span<void* const> samples, bool isInput) noexcept;

    Steinberg::Vst::AudioBusBuffers* data() noexcept { return buses.data(); }
    int busCount() const noexcept { return static_cast<int>(buses.size()); }
    int mainChannels() const noexcept { return buses.empty() ? 0 : buses.front().numChannels; }

private:
    std::vector<Steinberg::Vst::AudioBusBuffers> buses;
    std::vector<std::vector<void*>> pointers;           // of each bus, a channel each
    std::vector<double> spare;
};

}
