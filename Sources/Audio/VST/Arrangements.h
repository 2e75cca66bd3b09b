// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Plugin/CAudioHostBlock.h"
#include "Core/CStringBuf.h"

#include <pluginterfaces/vst/vsttypes.h>

#include <span>

namespace kor
{

/// Channels that the plug-in can have.
struct CArrangementLimits
{
    int channels = 8; // in and out, and in together with the side chain
    bool hasSidechain = false;
};

/// Whether the plug-in works with these arrangements of a host's busses; if so, their channel counts. Looks at the
/// first input, the first output and, where there is a side chain, at the second input; without an output nothing
/// works.
bool acceptArrangements(std::span<const Steinberg::Vst::SpeakerArrangement> inputs,
                        std::span<const Steinberg::Vst::SpeakerArrangement> outputs, const CArrangementLimits& limits,
                        CAudioHostChannels& channels) noexcept;

/// Appends the name of each speaker, in the order of channels; an uncommon one's is empty.
void appendSpeakerNames(Steinberg::Vst::SpeakerArrangement arrangement, CArray<CStringBuf>& names);

}
