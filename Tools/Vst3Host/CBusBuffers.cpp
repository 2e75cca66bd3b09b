// SPDX-License-Identifier: GPL-3.0-or-later
#include "Vst3Host/CBusBuffers.h"

#include <algorithm>

namespace kor
{

using namespace Steinberg;

void CBusBuffers::prepare(const std::vector<int>& channels, int maxBlock)
{
    spare.assign(static_cast<std::size_t>(maxBlock), 0.0);
    buses.assign(channels.size(), {});
    pointers.assign(channels.size(), {});
    for (std::size_t i = 0; i < channels.size(); ++i)
    {
        pointers[i].assign(static_cast<std::size_t>(channels[i]), spare.data());
        buses[i].numChannels = channels[i];
        // The two members are one union: pointers to samples of whichever size was set up.
        buses[i].channelBuffers64 = reinterpret_cast<Vst::Sample64**>(pointers[i].data());
    }
}

void CBusBuffers::setMain(std::span<void* const> samples, bool isInput) noexcept
{
    // What a plug-in scribbled there as an output must not come back as an input.
    if (isInput)
        std::fill(spare.begin(), spare.end(), 0.0);
    for (std::size_t bus = 0; bus < buses.size(); ++bus)
    {
        std::vector<void*>& list = pointers[bus];
        buses[bus].silenceFlags = 0;
        for (std::size_t c = 0; c < list.size(); ++c)
        {
            const bool isGiven = bus == 0 && c < samples.size() && samples[c] != nullptr;
            list[c] = isGiven ? samples[c] : spare.data();
            if (isInput && !isGiven && c < 64)
                buses[bus].silenceFlags |= uint64(1) << c;
        }
    }
}

}
