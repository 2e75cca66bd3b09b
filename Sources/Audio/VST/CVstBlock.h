// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Plugin/CAudioWrapper.h"

#include <pluginterfaces/vst/ivstaudioprocessor.h>

#include <array>

namespace kor
{

// A host's block as the plug-in takes it. Hosts leave out busses, lists and channels, and say more of them than there
// can be: what is missing is silence in and nowhere out, what is too much comes out silent. Audio thread; allocates
// nothing. The host's data must outlive it.
class CVstBlock
{
public:
    /// The second input counts only where the product has a side chain and the host does not flag it silent.
    CVstBlock(const Steinberg::Vst::ProcessData& data, bool hasSidechain) noexcept;
    CVstBlock(const CVstBlock&) = delete;
    CVstBlock& operator=(const CVstBlock&) = delete;

    const CAudioHostBlock& block() const noexcept { return taken; }

    /// Makes the whole block silent where nothing can run.
    static void silenceOutput(const Steinberg::Vst::ProcessData& data) noexcept;

private:
    void takeInputs(const Steinberg::Vst::AudioBusBuffers& bus, int count) noexcept;

    std::array<const void*, CAudioWrapper::maxChannels> inputs{};
    std::array<void*, CAudioWrapper::maxChannels> outputs{};
    CAudioHostBlock taken;
};

}
