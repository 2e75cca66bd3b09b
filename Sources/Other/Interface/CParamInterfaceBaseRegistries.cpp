// SPDX-License-Identifier: GPL-3.0-or-later
// The commands on registries: programs, presets, banks, A and B.
#include "Other/Interface/CInterfaceMessage.h"
#include "Other/Interface/CParamInterfaceBase.h"
#include "Other/Interface/CRegistryListener.h"

namespace kor
{

namespace
{

CAudioPresetSource sourceOf(std::uint32_t isFactory) noexcept
{
    return isFactory != 0 ? CAudioPresetSource::factory : CAudioPresetSource::session;
}

}

// The listener id that such commands begin with; null for one that is not in the map.
CError CParamInterfaceBase::readRegistry(CRegistryListener*& listener, std::uint32_t& listenerId)
{
    KOR_TRY(message().readU32(listenerId));
    const auto found = registryListeners.find(listenerId);
    listener = found != registryListeners.end() ? &found->second : nullptr;
    return {};
}

// A command without further fields, or with one, an index.
template <class Call>
CError CParamInterfaceBase::runRegistry(Call&& call, std::int32_t* index)
{
    std::uint32_t listenerId = 0;
    CRegistryListener* listener = nullptr;
    KOR_TRY(readRegistry(listener, listenerId));
    if (index != nullptr)
        KOR_TRY(message().readInt(*index));
    if (listener == nullptr)
        return {};
    const CAudioParamChangeScope scope(openBatch(listenerId));
    call(listener->registry());
    return {};
}

CError CParamInterfaceBase::onListenRegistry()
{
    CStringBuf path;
    std::uint32_t listenerId = 0;
    KOR_TRY(message().readString(path));
    KOR_TRY(message().readU32(listenerId));
    auto* const registry = dynamic_cast<CAudioParamRegistry*>(findObject(path));
    if (registry == nullptr)
        return KOR_FAIL("No param registry object '%1' found.", path);
    if (!isOfClient(listenerId))
        return {};
    // One listener of the registry serves all clients, so that none can go while it is being told.
    if (registries.insert(registry).second)
        registry->addListener(*this);
    const CRegistryListener& listener =
        registryListeners.insert_or_assign(listenerId, CRegistryListener(*clients, *registry, listenerId))
            .first->second;
    listener.sendNames(CAudioPresetSource::factory, CSending::reply);
    listener.sendNames(CAudioPresetSource::session, CSending::reply);
    return {};
}

CError CParamInterfaceBase::onUnlistenRegistry()
{
    std::uint32_t listenerId = 0;
    KOR_TRY(message().readU32(listenerId));
    registryListeners.erase(listenerId);
    return {};
}

// With no lock held. Who caused the change is told too: that is when its list is updated.
void CParamInterfaceBase::onProgramsChanged(CAudioParamRegistry& registry, const CAudioParamRegistryListener*)
{
    CLockHolder hold(messageLock());
    for (const auto& [listenerId, listener] : registryListeners)
        if (&listener.registry() == &registry)
            listener.sendNames(CAudioPresetSource::session, CSending::update);
}

CError CParamInterfaceBase::onSetCurrentProgram()
{
    std::int32_t index = 0;
    return runRegistry([&](CAudioParamRegistry& registry) { registry.setCurrentProgram(index, this); }, &index);
}

CError CParamInterfaceBase::onRenamePreset()
{
    std::uint32_t listenerId = 0;
    std::int32_t index = 0;
    CStringBuf name;
    CRegistryListener* listener = nullptr;
    KOR_TRY(readRegistry(listener, listenerId));
    KOR_TRY(message().readInt(index));
    KOR_TRY(message().readString(name));
    if (listener != nullptr)
        listener->registry().renamePreset(index, name, this);
    return {};
}

CError CParamInterfaceBase::onActivateFactoryPreset()
{
    std::int32_t index = 0;
    return runRegistry([&](CAudioParamRegistry& registry) { registry.activateFactoryPreset(index); }, &index);
}

CError CParamInterfaceBase::onActivatePreset()
{
    std::uint32_t listenerId = 0;
    std::int32_t group = 0;
    CRegistryListener* listener = nullptr;
    KOR_TRY(readRegistry(listener, listenerId));
    KOR_TRY(message().readInt(group));
    if (listener == nullptr || group < everyIndex || group >= params->groupCount())
        return {};
    const CAudioParamChangeScope scope(openBatch(listenerId));
    KOR_TRY(listener->registry().activatePreset(message(), CAudioPresetScope::storable, group));
    return {};
}

CError CParamInterfaceBase::onRequestPreset()
{
    std::uint32_t listenerId = 0;
    std::uint32_t requestId = 0;
    std::uint32_t isFactory = 0;
    std::int32_t index = 0;
    std::int32_t group = 0;
    CRegistryListener* listener = nullptr;
    KOR_TRY(readRegistry(listener, listenerId));
    KOR_TRY(message().readU32(requestId));
    KOR_TRY(message().readU32(isFactory));
    KOR_TRY(message().readInt(index));
    KOR_TRY(message().readInt(group));
    if (listener == nullptr || group < everyIndex || group >= params->groupCount())
        return {};
    CInterfaceMessage answer = listener->answer(requestId, true);
    KOR_TRY(listener->registry().acquirePreset(sourceOf(isFactory), index, group, answer.stream()));
    listener->send(answer, CSending::reply);
    return {};
}

CError CParamInterfaceBase::onRequestBank()
{
    std::uint32_t listenerId = 0;
    std::uint32_t requestId = 0;
    std::uint32_t isFactory = 0;
    CRegistryListener* listener = nullptr;
    KOR_TRY(readRegistry(listener, listenerId));
    KOR_TRY(message().readU32(requestId));
    KOR_TRY(message().readU32(isFactory));
    if (listener == nullptr)
        return {};
    CInterfaceMessage answer = listener->answer(requestId, false);
    KOR_TRY(listener->registry().acquireBank(sourceOf(isFactory), answer.stream()));
    listener->send(answer, CSending::reply);
    return {};
}

CError CParamInterfaceBase::onSetDefaultPreset()
{
    std::uint32_t listenerId = 0;
    CRegistryListener* listener = nullptr;
    KOR_TRY(readRegistry(listener, listenerId));
    // The registry is silent about a preset that does not parse; the sender shall hear of it.
    std::int64_t start = 0;
    CAudioPreset preset;
    KOR_TRY(message().getPosition(start));
    KOR_TRY(preset.load(message()));
    KOR_TRY(message().setPosition(start));
    if (listener == nullptr)
        return {};
    listener->registry().setDefaultPreset(message());
    tellDefaults();
    return {};
}

CError CParamInterfaceBase::onActivateDefaultPreset()
{
    return runRegistry([](CAudioParamRegistry& registry) { registry.activateDefaultPreset(); });
}

CError CParamInterfaceBase::onExchangeShadowPreset()
{
    return runRegistry([](CAudioParamRegistry& registry) { registry.exchangeShadowPreset(); });
}

CError CParamInterfaceBase::onUpdateShadowPreset()
{
    return runRegistry([](CAudioParamRegistry& registry) { registry.updateShadowPreset(); });
}

}
