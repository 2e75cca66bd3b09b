// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/VST/Arrangements.h"

#include <array>
#include <bit>

namespace kor
{

using Steinberg::Vst::SpeakerArrangement;

namespace
{

constexpr int maxSidechain = 2;

// By bit of an arrangement.
constexpr std::array<const char*, 28> speakerNames = {
    "L",   "R",   "C",   "Lfe", "Ls",   "Rs", "Lc",  "Rc",  "S",   "Sl",  "Sr",  "Tm",  "Tfl", "Tfc",
    "Tfr", "Trl", "Trc", "Trr", "Lfe2", "M",  "B-W", "B-X", "B-Y", "B-Z", "Tsl", "Tsr", "Lcs", "Rcs"};

}

bool acceptArrangements(std::span<const SpeakerArrangement> inputs, std::span<const SpeakerArrangement> outputs,
                        const CArrangementLimits& limits, CAudioHostChannels& channels) noexcept
{
    if (inputs.empty() || outputs.empty())
        return false;
    const int in = std::popcount(inputs[0]);
    const int out = std::popcount(outputs[0]);
    const int sidechain = limits.hasSidechain && inputs.size() > 1 ? std::popcount(inputs[1]) : 0;
    if (in == 0 || out == 0 || in > limits.channels || out > limits.channels)
        return false;
    if (sidechain > maxSidechain || sidechain + in > limits.channels)
        return false;
    if (in != out && in != 1 && out != 2)
        return false;
    channels = {in, out, sidechain};
    return true;
}

void appendSpeakerNames(SpeakerArrangement arrangement, CArray<CStringBuf>& names)
{
    for (std::size_t bit = 0; bit < 64; ++bit)
    {
        if ((arrangement >> bit & 1) != 0)
            names.emplace_back(bit < speakerNames.size() ? speakerNames[bit] : "");
    }
}

}
