// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamRegistry.h"

namespace kor
{

// Whoever follows a registry at the client's side. Called on the client's thread out of its event loop; may listen,
// unlisten and request meanwhile.
class CRegistryClientListener
{
public:
    virtual ~CRegistryClientListener() = default;

    /// The names in a bank, which are "id:title", and the index of the current program.
    virtual void onRegistryNames(CAudioPresetSource source, const CStringBuf& registryId, int currentProgram,
                                 const CArray<CStringBuf>& names) = 0;

    /// What was asked for under this request id.
    virtual void onRegistryPreset(std::uint32_t requestId, CAudioPreset preset) = 0;
    virtual void onRegistryBank(std::uint32_t requestId, CAudioPresetBank bank) = 0;
};

}
