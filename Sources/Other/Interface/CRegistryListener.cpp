// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CRegistryListener.h"

namespace kor
{

CRegistryListener::CRegistryListener(CParamInterfaceBaseConnector& toClients, CAudioParamRegistry& registry,
                                     std::uint32_t id)
    : connector(&toClients), followed(&registry), listenerId(id)
{
}

void CRegistryListener::sendNames(CAudioPresetSource source, CSending kind) const
{
    const CArray<CStringBuf> names = followed->getPresetNames(source);
    CInterfaceMessage message("update-registry");
    message.number(listenerId).number(source == CAudioPresetSource::factory).text(followed->id());
    message.number(followed->getCurrentProgram()).number(static_cast<std::uint32_t>(names.size()));
    for (const CStringBuf& name : names)
        message.text(name);
    send(message, kind);
}

CInterfaceMessage CRegistryListener::answer(std::uint32_t requestId, bool isPreset) const
{
    CInterfaceMessage message("registry-data");
    message.number(listenerId).number(requestId).number(isPreset);
    return message;
}

void CRegistryListener::send(const CInterfaceMessage& message, CSending kind) const
{
    connector->send(static_cast<int>(listenerId >> 16), message.block(), kind);
}

}
