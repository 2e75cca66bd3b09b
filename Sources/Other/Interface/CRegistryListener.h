// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamRegistry.h"
#include "Other/Interface/CInterfaceMessage.h"
#include "Other/Interface/CParamInterfaceBaseConnector.h"

namespace kor
{

// A client's ear on the names of one registry's presets. Under the interface's message lock, so that the names come in
// the order of their changes.
class CRegistryListener
{
public:
    CRegistryListener(CParamInterfaceBaseConnector& connector, CAudioParamRegistry& registry, std::uint32_t id);

    CAudioParamRegistry& registry() const noexcept { return *followed; }

    /// Sends the names of a bank and the index of the current program.
    void sendNames(CAudioPresetSource source, CSending kind) const;

    /// Begins the answer to a request of this listener.
    CInterfaceMessage answer(std::uint32_t requestId, bool isPreset) const;
    void send(const CInterfaceMessage& message, CSending kind) const;

private:
    CParamInterfaceBaseConnector* connector;
    CAudioParamRegistry* followed;
    std::uint32_t listenerId;
};

}
