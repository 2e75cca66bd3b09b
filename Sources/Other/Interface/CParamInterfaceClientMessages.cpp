// SPDX-License-Identifier: GPL-3.0-or-later
// What comes from the audio side.
#include "Other/Interface/CParamChange.h"
#include "Other/Interface/CParamInterfaceClient.h"

#include <utility>

namespace kor
{

void CParamInterfaceClient::initClass(CObjectClassInfo& info)
{
    using T = CParamInterfaceClient;
    static const std::pair<const char*, CEventHandler> messages[] = {
        {"update-undo-history", eventMethod<&T::onUpdateUndoHistory>},
        {"update-param-info", eventMethod<&T::onUpdateParamInfo>},
        {"update-param", eventMethod<&T::onUpdateParam>},
        {"update-registry", eventMethod<&T::onUpdateRegistry>},
        {"registry-data", eventMethod<&T::onRegistryData>},
    };
    CObject::initClass(info);
    for (const auto& [name, handler] : messages)
        info.addEvent(name, handler);
}

CError CParamInterfaceClient::runMessage(std::span<const unsigned char> block)
{
    CMemoryReader reader(block);
    CStringBuf name;
    KOR_TRY(reader.readString(name));
    CMemoryReader* const outer = std::exchange(current, &reader);
    CError failure = runEvent(name);
    current = outer;
    KOR_TRY(std::move(failure));
    return {};
}

CParamClientListener* CParamInterfaceClient::paramListener(std::uint32_t listenerId) const
{
    const auto entry = paramEntries.find(listenerId);
    return entry != paramEntries.end() ? entry->second.listener : nullptr;
}

CRegistryClientListener* CParamInterfaceClient::registryListener(std::uint32_t listenerId) const
{
    const auto entry = registryEntries.find(listenerId);
    return entry != registryEntries.end() ? entry->second.listener : nullptr;
}

CError CParamInterfaceClient::onUpdateUndoHistory()
{
    std::int32_t newPosition = 0;
    std::uint32_t count = 0;
    CArray<CStringBuf> newLabels;
    KOR_TRY(message().readInt(newPosition));
    KOR_TRY(message().readU32(count));
    for (std::uint32_t i = 0; i < count; ++i)
    {
        CStringBuf label;
        KOR_TRY(message().readString(label));
        newLabels.push_back(std::move(label));
    }
    position = newPosition;
    labels = std::move(newLabels);
    CAttrMap params;
    params["position"].setInt(position);
    params["count"].setInt(static_cast<int>(count));
    for (std::size_t i = 0; i < labels.size(); ++i)
        params["label" + CStringBuf::fromInt(static_cast<int>(i))].setPlainString(labels[i]);
    KOR_TRY(sendEvent("undo-history-changed", params));
    return {};
}

CError CParamInterfaceClient::onUpdateParamInfo()
{
    std::uint32_t listenerId = 0;
    CAudioParamInfo info;
    std::uint32_t hasChange = 0;
    CParamChange defaults;
    KOR_TRY(message().readU32(listenerId));
    CParamClientListener* const listener = paramListener(listenerId);
    if (listener == nullptr)
        return {};
    KOR_TRY(info.load(message(), *this));
    KOR_TRY(message().readU32(hasChange));
    if (hasChange != 0)
        KOR_TRY(defaults.read(message()));
    listener->onParamInfo(info, hasChange != 0 ? &defaults.request() : nullptr);
    return {};
}

CError CParamInterfaceClient::onUpdateParam()
{
    std::uint32_t listenerId = 0;
    CParamChange change;
    KOR_TRY(message().readU32(listenerId));
    CParamClientListener* const listener = paramListener(listenerId);
    if (listener == nullptr)
        return {};
    KOR_TRY(change.read(message()));
    listener->onParamChange(change.request());
    return {};
}

CError CParamInterfaceClient::onUpdateRegistry()
{
    std::uint32_t listenerId = 0;
    std::uint32_t isFactory = 0;
    CStringBuf registryId;
    std::int32_t currentProgram = 0;
    std::uint32_t count = 0;
    CArray<CStringBuf> names;
    KOR_TRY(message().readU32(listenerId));
    KOR_TRY(message().readU32(isFactory));
    KOR_TRY(message().readString(registryId));
    KOR_TRY(message().readInt(currentProgram));
    KOR_TRY(message().readU32(count));
    for (std::uint32_t i = 0; i < count; ++i)
    {
        CStringBuf name;
        KOR_TRY(message().readString(name));
        names.push_back(std::move(name));
    }
    if (CRegistryClientListener* const listener = registryListener(listenerId))
        listener->onRegistryNames(isFactory != 0 ? CAudioPresetSource::factory : CAudioPresetSource::session,
                                  registryId, currentProgram, names);
    return {};
}

CError CParamInterfaceClient::onRegistryData()
{
    std::uint32_t listenerId = 0;
    std::uint32_t requestId = 0;
    std::uint32_t isPreset = 0;
    CAudioPreset preset;
    CAudioPresetBank bank;
    KOR_TRY(message().readU32(listenerId));
    KOR_TRY(message().readU32(requestId));
    KOR_TRY(message().readU32(isPreset));
    if (isPreset != 0)
        KOR_TRY(preset.load(message()));
    else
        KOR_TRY(bank.load(message()));
    CRegistryClientListener* const listener = registryListener(listenerId);
    if (requests.erase({listenerId, requestId}) == 0 || listener == nullptr)
        return {};
    if (isPreset != 0)
        listener->onRegistryPreset(requestId, std::move(preset));
    else
        listener->onRegistryBank(requestId, std::move(bank));
    return {};
}

}
