// SPDX-License-Identifier: GPL-3.0-or-later
// What only a master registry has: programs, the factory bank, A and B. Each goes with a history of undo.
#include "Audio/Parameters/CAudioParamRegistry.h"
#include "Core/CLog.h"

namespace kor
{

bool CAudioParamRegistry::isProgram(int index) const noexcept
{
    return master != nullptr && index >= 0 && index < static_cast<int>(master->session.size());
}

int CAudioParamRegistry::getProgramCount() const
{
    CLockHolder hold(presetLock);
    return master != nullptr ? static_cast<int>(master->session.size()) : 0;
}

int CAudioParamRegistry::getCurrentProgram() const
{
    CLockHolder hold(presetLock);
    return master != nullptr ? master->current : 0;
}

CStringBuf CAudioParamRegistry::getProgramName(int index) const
{
    CLockHolder hold(presetLock);
    return isProgram(index) ? master->session.preset(static_cast<std::size_t>(index)).name() : CStringBuf();
}

CArray<CStringBuf> CAudioParamRegistry::getPresetNames(CAudioPresetSource source) const
{
    CLockHolder hold(presetLock);
    CArray<CStringBuf> names;
    if (master == nullptr)
        return names;
    const CAudioPresetBank& bank = source == CAudioPresetSource::factory ? master->factory : master->session;
    for (std::size_t i = 0; i < bank.size(); ++i)
        names.push_back(bank.preset(i).name());
    return names;
}

// Captured into memory; a failure would be one of ours.
void CAudioParamRegistry::captureProgram(CAudioPreset& preset)
{
    if (CError error = capture(preset, everyIndex))
        CLog::writeError(std::move(error));
}

void CAudioParamRegistry::onCollectorReady()
{
    if (master == nullptr)
        return;
    isDefaultStale = true;
    const CRun run(*this);
    const CAudioPreset first = master->session.preset(0);
    if (CError error = apply(first, CAudioPresetScope::storableAndPersistent, {}, nullptr))
        CLog::writeError(std::move(error));
    showName(first.name(), 0, nullptr);
}

void CAudioParamRegistry::setCurrentProgram(int index, const CAudioParamRegistryListener* sender)
{
    const CRun run(*this);
    if (!isProgram(index) || index == master->current)
        return;
    captureProgram(master->program());
    if (undoHistory != nullptr)
        master->histories[static_cast<std::size_t>(master->current)] =
            undoHistory->swapHistory(std::move(master->histories[static_cast<std::size_t>(index)]));
    master->current = index;
    const CAudioPreset next = master->program();
    if (CError error = apply(next, CAudioPresetScope::storable, {}, nullptr))
        CLog::writeError(std::move(error));
    showName(next.name(), 0, nullptr);
    tellListeners(sender);
}

void CAudioParamRegistry::renamePreset(int index, const CStringBuf& title, const CAudioParamRegistryListener* sender)
{
    const CRun run(*this);
    if (!isProgram(index))
        return;
    const CStringBuf fullName = idText + ":" + title;
    if (index != master->current)
    {
        master->session.preset(static_cast<std::size_t>(index)).setName(fullName);
        tellListeners(sender);
        return;
    }
    std::unique_ptr<CAudioParamUndoRecord> record = openRecord("Program name change");
    setPresetName(fullName, 0, record.get(), sender);
    closeRecord(std::move(record));
}

void CAudioParamRegistry::setPresetName(const CStringBuf& fullName, int group, CAudioParamUndoContext* context,
                                        const CAudioParamRegistryListener* sender)
{
    if (master != nullptr)
        master->program().setName(fullName);
    showName(fullName, group, context);
    tellListeners(sender);
}

// What is shown by now: meanwhile another program may have come, which this must not rename.
void CAudioParamRegistry::takeShownName()
{
    const CRun run(*this);
    master->program().setName(idText + ":" + nameParam->getText(0, 0));
    tellListeners(nullptr);
}

void CAudioParamRegistry::activateFactoryPreset(int index)
{
    const CRun run(*this);
    if (master == nullptr || index < 0 || index >= static_cast<int>(master->factory.size()))
        return;
    const CAudioPreset& preset = master->factory.preset(static_cast<std::size_t>(index));
    std::unique_ptr<CAudioParamUndoRecord> record = openRecord("ROM preset activate");
    if (CError error = apply(preset, CAudioPresetScope::storable, {}, record.get()))
        CLog::writeError(std::move(error));
    setPresetName(preset.name(), 0, record.get(), nullptr);
    closeRecord(std::move(record));
}

CError CAudioParamRegistry::acquirePreset(CAudioPresetSource source, int index, int group, COutputStream& stream)
{
    const CRun run(*this);
    if (master == nullptr)
    {
        CAudioPreset preset;
        preset.setName(idText + ":" + (nameParam != nullptr ? nameParam->getText(std::max(group, 0), 0) : CStringBuf()));
        KOR_TRY(capture(preset, group));
        KOR_TRY(preset.save(stream));
        return {};
    }
    const bool isFactory = source == CAudioPresetSource::factory;
    if (!isFactory && index == -1)
        index = master->current;
    CAudioPresetBank& bank = isFactory ? master->factory : master->session;
    if (index < 0 || index >= static_cast<int>(bank.size()))
        return KOR_FAIL("Invalid preset index %1 specified.", index);
    if (!isFactory && index == master->current)
        KOR_TRY(capture(master->program(), everyIndex));
    KOR_TRY(bank.preset(static_cast<std::size_t>(index)).save(stream));
    return {};
}

CError CAudioParamRegistry::acquireBank(CAudioPresetSource source, COutputStream& stream)
{
    const CRun run(*this);
    if (master == nullptr)
        return KOR_FAIL("Acquiring bank in a non-master registry is an error.");
    if (source == CAudioPresetSource::session)
        KOR_TRY(capture(master->program(), everyIndex));
    KOR_TRY((source == CAudioPresetSource::factory ? master->factory : master->session).save(stream));
    return {};
}

void CAudioParamRegistry::updateShadowPreset()
{
    const CRun run(*this);
    if (master == nullptr)
        return;
    CAudioPreset& shadow = master->shadow.emplace();
    shadow.setName(master->program().name());
    captureProgram(shadow);
    if (undoHistory != nullptr)
        master->shadowHistory = undoHistory->cloneHistory();
}

void CAudioParamRegistry::exchangeShadowPreset()
{
    const CRun run(*this);
    if (master == nullptr)
        return;
    if (!master->shadow)
        updateShadowPreset();
    CAudioPreset present;
    present.setName(master->program().name());
    captureProgram(present);
    if (CError error = apply(*master->shadow, CAudioPresetScope::storable, {}, nullptr))
        CLog::writeError(std::move(error));
    setPresetName(master->shadow->name(), 0, nullptr, nullptr);
    if (undoHistory != nullptr)
        master->shadowHistory = undoHistory->swapHistory(std::move(master->shadowHistory));
    master->shadow = std::move(present);
}

std::unique_ptr<CAudioParamUndoRecord> CAudioParamRegistry::openRecord(const CStringBuf& label) const
{
    return undoHistory != nullptr ? undoHistory->createRecord(label) : nullptr;
}

void CAudioParamRegistry::closeRecord(std::unique_ptr<CAudioParamUndoRecord> record)
{
    if (record != nullptr)
        undoHistory->submit(std::move(record));
}

}
