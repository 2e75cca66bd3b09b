// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CParamInterfaceClient.h"

#include "Core/CLog.h"
#include "Other/Interface/CInterfaceMessage.h"
#include "Other/Interface/CParamChange.h"
#include "Other/Interface/CParamInterfaceClientConnector.h"

#include <utility>

namespace kor
{

CError CParamInterfaceClient::init()
{
    KOR_TRY(CObject::init());
    KOR_TRY(findObjectByAttr(connector, "client-connector"));
    ownId = connector->clientId();
    connector->setClient(this);
    KOR_TRY(send(CInterfaceMessage("request-undo-history").number(ownId)));
    return {};
}

// The audio side may have ended first; then there is nothing to take back.
void CParamInterfaceClient::uninit()
{
    if (connector != nullptr)
    {
        while (!paramEntries.empty())
            unlistenParam(paramEntries.begin()->first).ignore();
        while (!registryEntries.empty())
            unlistenRegistry(registryEntries.begin()->first).ignore();
        connector->setClient(nullptr);
        connector = nullptr;
    }
    CObject::uninit();
}

CError CParamInterfaceClient::send(const CInterfaceMessage& command)
{
    if (connector == nullptr)
        return KOR_FAIL("No base object defined.");
    KOR_TRY(connector->send(command.block()));
    return {};
}

bool CParamInterfaceClient::isIdInUse(std::uint32_t anyId) const
{
    return paramEntries.contains(anyId) || registryEntries.contains(anyId) || undoIds.contains(anyId);
}

CError CParamInterfaceClient::takeId(std::uint32_t& made)
{
    constexpr std::uint32_t most = 0xffff;
    for (std::uint32_t tried = 0; tried < most; ++tried)
    {
        lastId = lastId % most + 1;
        made = (static_cast<std::uint32_t>(ownId) << 16) | lastId;
        if (!isIdInUse(made))
            return {};
    }
    return KOR_FAIL("This client listens to too much already.");
}

CError CParamInterfaceClient::listenParam(std::uint32_t& listenerId, const CStringBuf& name,
                                          CParamClientListener& listener)
{
    std::uint32_t made = 0;
    KOR_TRY(takeId(made));
    KOR_TRY(send(CInterfaceMessage("listen-param").text(name).number(made)));
    paramEntries.emplace(made, CParamEntry{name, &listener});
    listenerId = made;
    return {};
}

CError CParamInterfaceClient::unlistenParam(std::uint32_t listenerId)
{
    if (paramEntries.erase(listenerId) == 0)
        return {};
    KOR_TRY(send(CInterfaceMessage("unlisten-param").number(listenerId)));
    return {};
}

CError CParamInterfaceClient::changeParam(std::uint32_t listenerId, std::uint32_t undoId,
                                          const CAudioParamRequest& request)
{
    CInterfaceMessage command("change-param");
    command.number(listenerId).number(undoId);
    KOR_TRY(CParamChange::write(command.stream(), request));
    KOR_TRY(send(command));
    return {};
}

CError CParamInterfaceClient::resetParam(std::uint32_t listenerId, std::uint32_t undoId, int group, int element,
                                         bool isLast)
{
    CInterfaceMessage command("reset-param");
    KOR_TRY(send(command.number(listenerId).number(undoId).number(group).number(element).number(isLast)));
    return {};
}

CError CParamInterfaceClient::beginBatch()
{
    KOR_TRY(send(CInterfaceMessage("begin-batch").number(ownId)));
    return {};
}

CError CParamInterfaceClient::endBatch()
{
    KOR_TRY(send(CInterfaceMessage("end-batch").number(ownId)));
    return {};
}

CError CParamInterfaceClient::createUndoData(std::uint32_t& undoId, const CStringBuf& label, bool isMergeable,
                                             int mergeKey)
{
    std::uint32_t made = 0;
    KOR_TRY(takeId(made));
    KOR_TRY(send(CInterfaceMessage("create-undo-data").number(made).text(label).number(isMergeable).number(mergeKey)));
    undoIds.insert(made);
    undoId = made;
    return {};
}

CError CParamInterfaceClient::removeUndoData(std::uint32_t undoId)
{
    undoIds.erase(undoId);
    KOR_TRY(send(CInterfaceMessage("remove-undo-data").number(undoId)));
    return {};
}

CError CParamInterfaceClient::submitUndoData(std::uint32_t undoId, const CStringBuf& label)
{
    undoIds.erase(undoId);
    KOR_TRY(send(CInterfaceMessage("submit-undo-data").number(undoId).text(label)));
    return {};
}

CError CParamInterfaceClient::setUndoHistoryPos(int newPosition)
{
    KOR_TRY(send(CInterfaceMessage("set-undo-history-pos").number(newPosition)));
    return {};
}

CError CParamInterfaceClient::listenRegistry(std::uint32_t& listenerId, const CStringBuf& path,
                                             CRegistryClientListener& listener)
{
    std::uint32_t made = 0;
    KOR_TRY(takeId(made));
    KOR_TRY(send(CInterfaceMessage("listen-registry").text(path).number(made)));
    registryEntries.emplace(made, CRegistryEntry{path, &listener});
    listenerId = made;
    return {};
}

CError CParamInterfaceClient::unlistenRegistry(std::uint32_t listenerId)
{
    if (registryEntries.erase(listenerId) == 0)
        return {};
    requests.erase(requests.lower_bound({listenerId, 0}), requests.upper_bound({listenerId, ~0u}));
    KOR_TRY(send(CInterfaceMessage("unlisten-registry").number(listenerId)));
    return {};
}

CError CParamInterfaceClient::setCurrentProgram(std::uint32_t listenerId, int index)
{
    KOR_TRY(send(CInterfaceMessage("set-current-program").number(listenerId).number(index)));
    return {};
}

CError CParamInterfaceClient::renamePreset(std::uint32_t listenerId, int index, const CStringBuf& title)
{
    KOR_TRY(send(CInterfaceMessage("rename-preset").number(listenerId).number(index).text(title)));
    return {};
}

CError CParamInterfaceClient::activateFactoryPreset(std::uint32_t listenerId, int index)
{
    KOR_TRY(send(CInterfaceMessage("activate-factory-preset").number(listenerId).number(index)));
    return {};
}

CError CParamInterfaceClient::activatePreset(std::uint32_t listenerId, const CAudioPreset& preset, int group)
{
    CInterfaceMessage command("activate-preset");
    command.number(listenerId).number(group);
    KOR_TRY(preset.save(command.stream()));
    KOR_TRY(send(command));
    return {};
}

CError CParamInterfaceClient::requestPreset(std::uint32_t listenerId, std::uint32_t requestId,
                                            CAudioPresetSource source, int index, int group)
{
    CInterfaceMessage request("request-preset");
    request.number(listenerId).number(requestId).number(source == CAudioPresetSource::factory);
    request.number(index).number(group);
    KOR_TRY(sendRequest(listenerId, requestId, request));
    return {};
}

CError CParamInterfaceClient::requestBank(std::uint32_t listenerId, std::uint32_t requestId, CAudioPresetSource source)
{
    CInterfaceMessage request("request-bank");
    request.number(listenerId).number(requestId).number(source == CAudioPresetSource::factory);
    KOR_TRY(sendRequest(listenerId, requestId, request));
    return {};
}

CError CParamInterfaceClient::sendRequest(std::uint32_t listenerId, std::uint32_t requestId,
                                          const CInterfaceMessage& request)
{
    requests.insert_or_assign(CRequestKey(listenerId, requestId), request.block());
    CError failure = send(request);
    if (failure || !registryEntries.contains(listenerId))
        requests.erase(CRequestKey(listenerId, requestId));
    KOR_TRY(std::move(failure));
    return {};
}

CError CParamInterfaceClient::setDefaultPreset(std::uint32_t listenerId, const CAudioPreset& preset)
{
    CInterfaceMessage command("set-default-preset");
    command.number(listenerId);
    KOR_TRY(preset.save(command.stream()));
    KOR_TRY(send(command));
    return {};
}

CError CParamInterfaceClient::activateDefaultPreset(std::uint32_t listenerId)
{
    KOR_TRY(send(CInterfaceMessage("activate-default-preset").number(listenerId)));
    return {};
}

CError CParamInterfaceClient::exchangeShadowPreset(std::uint32_t listenerId)
{
    KOR_TRY(send(CInterfaceMessage("exchange-shadow-preset").number(listenerId)));
    return {};
}

CError CParamInterfaceClient::updateShadowPreset(std::uint32_t listenerId)
{
    KOR_TRY(send(CInterfaceMessage("update-shadow-preset").number(listenerId)));
    return {};
}

// One that fails, such as a registry that has ended, does not keep the others from being asked.
CError CParamInterfaceClient::askForEverything()
{
    const auto ask = [this](const CInterfaceMessage& command)
    {
        if (CError failure = send(command))
            CLog::writeError(std::move(failure));
    };
    ask(CInterfaceMessage("request-undo-history").number(ownId));
    for (const auto& [listenerId, entry] : paramEntries)
        ask(CInterfaceMessage("listen-param").text(entry.name).number(listenerId));
    for (const auto& [listenerId, entry] : registryEntries)
        ask(CInterfaceMessage("listen-registry").text(entry.path).number(listenerId));
    for (const auto& [key, block] : requests)
        if (CError failure = connector->send(block))
            CLog::writeError(std::move(failure));
    return {};
}

}
