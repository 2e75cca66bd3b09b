// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CParamInterfaceBase.h"

#include "Other/Interface/CInterfaceMessage.h"
#include "Other/Interface/CParamChange.h"
#include "Other/Interface/CParamListener.h"
#include "Other/Interface/CRegistryListener.h"

#include <utility>

namespace kor
{

CParamInterfaceBase::CParamInterfaceBase() = default;
CParamInterfaceBase::~CParamInterfaceBase() = default;

void CParamInterfaceBase::initClass(CObjectClassInfo& info)
{
    using T = CParamInterfaceBase;
    static const std::pair<const char*, CEventHandler> commands[] = {
        {"create-undo-data", eventMethod<&T::onCreateUndoData>},
        {"remove-undo-data", eventMethod<&T::onRemoveUndoData>},
        {"submit-undo-data", eventMethod<&T::onSubmitUndoData>},
        {"request-undo-history", eventMethod<&T::onRequestUndoHistory>},
        {"set-undo-history-pos", eventMethod<&T::onSetUndoHistoryPos>},
        {"begin-batch", eventMethod<&T::onBeginBatch>},
        {"end-batch", eventMethod<&T::onEndBatch>},
        {"listen-param", eventMethod<&T::onListenParam>},
        {"unlisten-param", eventMethod<&T::onUnlistenParam>},
        {"change-param", eventMethod<&T::onChangeParam>},
        {"reset-param", eventMethod<&T::onResetParam>},
        {"listen-registry", eventMethod<&T::onListenRegistry>},
        {"unlisten-registry", eventMethod<&T::onUnlistenRegistry>},
        {"set-current-program", eventMethod<&T::onSetCurrentProgram>},
        {"rename-preset", eventMethod<&T::onRenamePreset>},
        {"activate-factory-preset", eventMethod<&T::onActivateFactoryPreset>},
        {"activate-preset", eventMethod<&T::onActivatePreset>},
        {"request-preset", eventMethod<&T::onRequestPreset>},
        {"request-bank", eventMethod<&T::onRequestBank>},
        {"set-default-preset", eventMethod<&T::onSetDefaultPreset>},
        {"activate-default-preset", eventMethod<&T::onActivateDefaultPreset>},
        {"exchange-shadow-preset", eventMethod<&T::onExchangeShadowPreset>},
        {"update-shadow-preset", eventMethod<&T::onUpdateShadowPreset>},
    };
    CObject::initClass(info);
    for (const auto& [name, handler] : commands)
        info.addEvent(name, handler);
}

CError CParamInterfaceBase::init()
{
    KOR_TRY(CObject::init());
    CParamInterfaceBaseConnector* foundConnector = nullptr;
    CAudioParamCollector* foundParams = nullptr;
    KOR_TRY(findObjectByAttr(foundConnector, "base-connector"));
    KOR_TRY(findObjectByAttr(foundParams, "param-collector"));
    const int capacity = getAttrInt("undo-count-max");
    if (capacity <= 0)
        return KOR_FAIL("Invalid 'undo-count-max' attribute value.");
    setUp(*foundParams, capacity);
    clients = foundConnector;
    params = foundParams;
    params->addHook(*this);
    clients->setBase(this);
    return {};
}

void CParamInterfaceBase::close()
{
    if (clients == nullptr)
        return;
    clients->setBase(nullptr);
    params->removeHook(*this);
    for (CAudioParamRegistry* const registry : registries)
        registry->removeListener(*this);
    while (!paramListeners.empty())
        endListener(paramListeners.begin());
    registryListeners.clear();
    records.clear();
    batches.clear();
    registries.clear();
    clients = nullptr;
}

void CParamInterfaceBase::uninit()
{
    registries.clear(); // those of the tree have ended by now, since they come behind this object and look for it
    close();
    CObject::uninit();
}

CError CParamInterfaceBase::runCommand(std::span<const unsigned char> block)
{
    CLockHolder hold(mutex);
    CMemoryReader reader(block);
    CStringBuf command;
    KOR_TRY(reader.readString(command));
    CMemoryReader* const outer = std::exchange(current, &reader);
    CError failure = runEvent(command);
    current = outer;
    KOR_TRY(std::move(failure));
    return {};
}

void CParamInterfaceBase::send(int clientId, const CInterfaceMessage& out, CSending kind) const
{
    if (clients != nullptr)
        clients->send(clientId, out.block(), kind);
}

void CParamInterfaceBase::clientStarted(int)
{
}

void CParamInterfaceBase::clientGone(int clientId)
{
    CLockHolder hold(mutex);
    const std::uint32_t first = static_cast<std::uint32_t>(clientId) << 16;
    const std::uint32_t last = first | 0xffffu;
    for (auto it = records.lower_bound(first); it != records.end() && it->first <= last;)
        submitRecord((it++)->first);
    batches.erase(clientId);
    for (auto it = paramListeners.lower_bound(first); it != paramListeners.end() && it->first <= last;)
        endListener(it++);
    registryListeners.erase(registryListeners.lower_bound(first), registryListeners.upper_bound(last));
}

bool CParamInterfaceBase::isOfClient(std::uint32_t anyId) const
{
    return clients->isConnected(clientOf(anyId));
}

CError CParamInterfaceBase::onCreateUndoData()
{
    std::uint32_t undoId = 0;
    CStringBuf label;
    std::uint32_t isMergeable = 0;
    std::int32_t key = 0;
    KOR_TRY(message().readU32(undoId));
    KOR_TRY(message().readString(label));
    KOR_TRY(message().readU32(isMergeable));
    KOR_TRY(message().readInt(key));
    if (isOfClient(undoId))
        records[undoId] = createRecord(label, isMergeable != 0, key);
    return {};
}

CError CParamInterfaceBase::onRemoveUndoData()
{
    std::uint32_t undoId = 0;
    KOR_TRY(message().readU32(undoId));
    records.erase(undoId);
    return {};
}

CError CParamInterfaceBase::onSubmitUndoData()
{
    std::uint32_t undoId = 0;
    CStringBuf label;
    KOR_TRY(message().readU32(undoId));
    KOR_TRY(message().readString(label));
    const auto record = records.find(undoId);
    if (record == records.end())
        return {};
    if (!label.isEmpty())
        record->second->setLabel(label);
    submitRecord(undoId);
    return {};
}

void CParamInterfaceBase::submitRecord(std::uint32_t undoId)
{
    auto record = records.extract(undoId);
    submit(std::move(record.mapped()));
}

CError CParamInterfaceBase::onRequestUndoHistory()
{
    std::uint32_t client = 0;
    KOR_TRY(message().readU32(client));
    sendHistory(static_cast<int>(client), CSending::reply);
    return {};
}

CError CParamInterfaceBase::onSetUndoHistoryPos()
{
    std::int32_t position = 0;
    KOR_TRY(message().readInt(position));
    setPosition(position);
    return {};
}

void CParamInterfaceBase::historyChanged()
{
    sendHistory(CParamInterfaceBaseConnector::everyClient, CSending::update);
}

// Sent under the undo lock, so that no client keeps an older history than others have made.
void CParamInterfaceBase::sendHistory(int clientId, CSending kind)
{
    CLockHolder hold(lock());
    CArray<CStringBuf> labels;
    int step = 0;
    getHistory(labels, step);
    CInterfaceMessage lines("update-undo-history");
    lines.number(step).number(static_cast<std::uint32_t>(labels.size()));
    for (const CStringBuf& label : labels)
        lines.text(label);
    send(clientId, lines, kind);
}

CError CParamInterfaceBase::onBeginBatch()
{
    std::uint32_t client = 0;
    KOR_TRY(message().readU32(client));
    if (client <= 0xffffu && isOfClient(client << 16))
        if (std::unique_ptr<CClientBatch>& batch = batches[static_cast<int>(client)]; batch == nullptr)
            batch = std::make_unique<CClientBatch>(*params);
    return {};
}

CError CParamInterfaceBase::onEndBatch()
{
    std::uint32_t client = 0;
    KOR_TRY(message().readU32(client));
    batches.erase(static_cast<int>(client));
    return {};
}

CError CParamInterfaceBase::onListenParam()
{
    CStringBuf name;
    std::uint32_t listenerId = 0;
    KOR_TRY(message().readString(name));
    KOR_TRY(message().readU32(listenerId));
    if (!isOfClient(listenerId))
        return {};
    if (const auto old = paramListeners.find(listenerId); old != paramListeners.end())
    {
        if (old->second->paramName() == name)
        {
            old->second->sendState(CSending::reply);
            return {};
        }
        endListener(old);
    }
    const auto listener = std::make_shared<CParamListener>(*clients, listenerId, name);
    paramListeners.emplace(listenerId, listener);
    {
        CLockHolder hold(namesLock);
        listenersByName[name].push_back(listener);
    }
    // Looked for behind the entry: a parameter that is being made finds the listener there.
    if (CAudioParam* const param = params->findParam(name))
        listener->meet(*param, CSending::reply);
    else
        listener->sendState(CSending::reply);
    return {};
}

CError CParamInterfaceBase::onUnlistenParam()
{
    std::uint32_t listenerId = 0;
    KOR_TRY(message().readU32(listenerId));
    if (const auto listener = paramListeners.find(listenerId); listener != paramListeners.end())
        endListener(listener);
    return {};
}

void CParamInterfaceBase::endListener(CParamListeners::iterator listener)
{
    const std::shared_ptr<CParamListener> ended = std::move(listener->second);
    paramListeners.erase(listener);
    {
        CLockHolder hold(namesLock);
        const auto named = listenersByName.find(ended->paramName());
        std::erase(named->second, ended);
        if (named->second.empty())
            listenersByName.erase(named);
    }
    ended->close();
}

void CParamInterfaceBase::meet(CAudioParam& param)
{
    CArray<std::shared_ptr<CParamListener>> waiting;
    {
        CLockHolder hold(namesLock);
        if (const auto named = listenersByName.find(param.fullName()); named != listenersByName.end())
            waiting = named->second;
    }
    for (const std::shared_ptr<CParamListener>& listener : waiting)
        listener->meet(param, CSending::update);
}

CAudioParam* CParamInterfaceBase::listenedParam(std::uint32_t listenerId) const
{
    const auto listener = paramListeners.find(listenerId);
    return listener != paramListeners.end() ? listener->second->param() : nullptr;
}

CAudioParamUndoContext* CParamInterfaceBase::openRecord(std::uint32_t undoId) const
{
    const auto record = records.find(undoId);
    return record != records.end() ? record->second.get() : nullptr;
}

CAudioParamBatch* CParamInterfaceBase::openBatch(std::uint32_t listenerId)
{
    const auto batch = batches.find(clientOf(listenerId));
    if (batch == batches.end())
        return nullptr;
    if (++batch->second->count % CClientBatch::limit == 0)
        batch->second->changes.submit();
    return &batch->second->changes;
}

CError CParamInterfaceBase::onChangeParam()
{
    std::uint32_t listenerId = 0;
    std::uint32_t undoId = 0;
    CParamChange change;
    KOR_TRY(message().readU32(listenerId));
    KOR_TRY(message().readU32(undoId));
    KOR_TRY(change.read(message()));
    const CAudioParamRequest& request = change.request();
    CAudioParam* const param = listenedParam(listenerId);
    if (param == nullptr || !param->hasInfo() || request.type != param->info().type ||
        request.elementSize != param->info().elementSize)
        return {};
    const CAudioParamChangeScope scope(openBatch(listenerId));
    CAudioParamUndoContext* const undo = openRecord(undoId);
    CAudioParamRegistry::markUser(*param, request.group, undo);
    param->change(request, undo);
    return {};
}

CError CParamInterfaceBase::onResetParam()
{
    std::uint32_t listenerId = 0;
    std::uint32_t undoId = 0;
    std::int32_t group = 0;
    std::int32_t element = 0;
    std::uint32_t isLast = 0;
    KOR_TRY(message().readU32(listenerId));
    KOR_TRY(message().readU32(undoId));
    KOR_TRY(message().readInt(group));
    KOR_TRY(message().readInt(element));
    KOR_TRY(message().readU32(isLast));
    CAudioParam* const param = listenedParam(listenerId);
    if (param == nullptr || group < 0 || element < everyIndex)
        return {};
    updateRegistries();
    const CAudioParamChangeScope scope(openBatch(listenerId));
    param->reset(group, element, openRecord(undoId), isLast != 0);
    return {};
}

// The user's stored defaults may have come meanwhile.
void CParamInterfaceBase::updateRegistries()
{
    for (CObject* const child : parent()->children())
        if (auto* const registry = dynamic_cast<CAudioParamRegistry*>(child))
            registry->update();
}

void CParamInterfaceBase::tellDefaults()
{
    for (const auto& [listenerId, listener] : paramListeners)
        listener->sendState(CSending::update);
}

}
