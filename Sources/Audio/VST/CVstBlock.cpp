// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/VST/CVstBlock.h"

#include <algorithm>
#include <cstring>

namespace kor
{

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace
{

int channelCount(const AudioBusBuffers& bus) noexcept
{
    return std::clamp<int>(bus.numChannels, 0, CAudioWrapper::maxChannels);
}

bool isSilent(const AudioBusBuffers& bus) noexcept
{
    if (bus.numChannels <= 0 || bus.numChannels >= 64)
        return false;
    const uint64 all = (uint64{1} << bus.numChannels) - 1;
    return (bus.silenceFlags & all) == all;
}

const AudioBusBuffers* firstOutput(const ProcessData& data) noexcept
{
    return data.outputs != nullptr && data.numOutputs > 0 ? &data.outputs[0] : nullptr;
}

/// Channels from `first` on.
void silence(const AudioBusBuffers& bus, int32 first, const ProcessData& data) noexcept
{
    const std::size_t size = data.symbolicSampleSize == kSample64 ? sizeof(Sample64) : sizeof(Sample32);
    for (int32 c = first; bus.channelBuffers32 != nullptr && data.numSamples > 0 && c < bus.numChannels; ++c)
    {
        if (bus.channelBuffers32[c] != nullptr)
            std::memset(bus.channelBuffers32[c], 0, static_cast<std::size_t>(data.numSamples) * size);
    }
}

}

CVstBlock::CVstBlock(const ProcessData& data, bool hasSidechain) noexcept
{
    taken.inputs = inputs.data();
    taken.outputs = outputs.data();
    taken.format = data.symbolicSampleSize == kSample64 ? CAudioSampleFormat::float64 : CAudioSampleFormat::float32;
    const AudioBusBuffers* const out = firstOutput(data);
    if (out != nullptr)
        data.outputs[0].silenceFlags = 0;
    if (data.inputs == nullptr || data.numInputs <= 0 || out == nullptr)
    {
        silenceOutput(data);
        return;
    }
    takeInputs(data.inputs[0], channelCount(data.inputs[0]));
    if (hasSidechain && data.numInputs > 1 && !isSilent(data.inputs[1]))
    {
        taken.sidechainCount = std::min(channelCount(data.inputs[1]), CAudioWrapper::maxChannels - taken.inputCount);
        takeInputs(data.inputs[1], taken.sidechainCount);
    }
    taken.outputCount = channelCount(*out);
    for (int c = 0; out->channelBuffers32 != nullptr && c < taken.outputCount; ++c)
        outputs[static_cast<std::size_t>(c)] = out->channelBuffers32[c];
    taken.frames = std::max<int>(data.numSamples, 0);
    silence(*out, taken.outputCount, data);
}

void CVstBlock::silenceOutput(const ProcessData& data) noexcept
{
    if (const AudioBusBuffers* const out = firstOutput(data))
        silence(*out, 0, data);
}

void CVstBlock::takeInputs(const AudioBusBuffers& bus, int count) noexcept
{
    for (int c = 0; c < count; ++c)
        inputs[static_cast<std::size_t>(taken.inputCount + c)] =
            bus.channelBuffers32 != nullptr ? bus.channelBuffers32[c] : nullptr;
    taken.inputCount += count;
}

}
