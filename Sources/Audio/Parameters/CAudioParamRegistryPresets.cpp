// SPDX-License-Identifier: GPL-3.0-or-later
// What a registry does with one preset: capture the parameters into it, apply it to them, select it by a parameter.
#include "Audio/Parameters/CAudioParamDef.h"
#include "Audio/Parameters/CAudioParamRegistry.h"
#include "Audio/Parameters/CAudioParamSelectionTable.h"
#include "Core/CLog.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"

#include <algorithm>
#include <cmath>

namespace kor
{

namespace
{

bool takesPart(const CAudioParam& param, CAudioPresetScope scope)
{
    const CAudioParamInfo& info = param.info();
    return info.isStorable || (info.isPersistent && scope == CAudioPresetScope::storableAndPersistent);
}

// Values of one entry of a routing preset; no groups when it is not there or holds something else.
CAudioParamStorage floatsOf(const CAudioPreset& preset, const char* key)
{
    CAudioParamStorage values;
    const auto entry = preset.entries().find(key);
    if (entry == preset.entries().end())
        return values;
    CMemoryReader reader(entry->second);
    CStringBuf path;
    values.setGroupCount(CAudioParamStorage::maxGroups);
    CError error = reader.readString(path);
    if (!error)
        error = values.load(reader);
    error.ignore();
    return values;
}

// Whether `differs(position, rounded value)` holds for any value of the groups up to `groupCount`.
template <class Test>
bool hasValue(const CAudioParamStorage& values, int groupCount, Test&& differs)
{
    for (int g = 0; g < std::min(groupCount, values.groupCount()); ++g)
        for (int e = 0; e < values.elementCount(g); ++e)
            if (differs(e, std::nearbyint(values.getValue(g, e))))
                return true;
    return false;
}

}

CAudioParamRegistry::CRun::CRun(CAudioParamRegistry& registry)
    : batch(*registry.collector), scope(CAudioParamChangeScope::currentBatch() == nullptr ? &batch : nullptr),
      hold(registry.presetLock)
{
    registry.takeStoredDefaults();
}

void CAudioParamRegistry::update()
{
    const CRun run(*this);
    map.params();
}

bool CAudioParamRegistry::isSelectedElsewhere(const CAudioParam& param) const noexcept
{
    return std::ranges::any_of(selectedPrefixes,
                               [&](const CStringBuf& prefix) { return param.fullName().startsWith(prefix); });
}

CError CAudioParamRegistry::capture(CAudioPreset& preset, int group)
{
    CLockHolder hold(paramLock);
    CAudioPreset::CEntries& entries = preset.entries();
    entries.clear();
    const std::shared_ptr<const CAudioParamRegistryMap::CParams> params = map.params();
    for (const auto& [key, param] : *params)
    {
        CLockHolder holdParam(param->lock());
        const CAudioParamDef* const definition = param->definition();
        if (definition == nullptr || !takesPart(*param, CAudioPresetScope::storableAndPersistent) ||
            isSelectedElsewhere(*param) || (group != everyIndex && param->getElementCount(group) == 0))
            continue;
        CWriteSeqBuffer block;
        KOR_TRY(param->save(block, definition->fullName(), group));
        block.getContents(entries[key]);
    }
    return {};
}

CError CAudioParamRegistry::apply(const CAudioPreset& preset, CAudioPresetScope scope,
                                  const CAudioParamLoadTarget& target, CAudioParamUndoContext* context)
{
    CLockHolder hold(paramLock);
    KOR_TRY(applySteps(preset, scope, target, context));
    if (!target.toDefaults && routingHandler)
        routingHandler(context);
    return {};
}

// Parameters that select presets come first, since what they select must not undo what the preset says itself. What
// the preset leaves out goes to its default, the parameters of an enumerated registry excepted, which follow the
// selection.
CArray<CAudioParamRegistry::CStep> CAudioParamRegistry::stepsOf(const CAudioPreset& preset, CAudioPresetScope scope,
                                                                const CAudioParamLoadTarget& target,
                                                                const CAudioParamUndoContext* context)
{
    CArray<CStep> steps;
    const auto isHeld = [&](const CAudioParam& param)
    { return context != nullptr && context->isReplay() && context->holds(param, target.group); };
    for (const auto& [key, block] : preset.entries())
    {
        CAudioParam* const param = map.paramOfKey(key);
        if (param != nullptr && takesPart(*param, scope) && !isHeld(*param))
            steps.push_back({param, &block});
    }
    if (!target.toDefaults)
    {
        const std::shared_ptr<const CAudioParamRegistryMap::CParams> params = map.params();
        for (const auto& [key, param] : *params)
            if (!preset.entries().contains(key) && takesPart(*param, scope) && !isSelectedElsewhere(*param) &&
                !isHeld(*param))
                steps.push_back({param, nullptr});
    }
    std::stable_partition(steps.begin(), steps.end(),
                          [](const CStep& step) { return !step.param->info().paramRegistry.isEmpty(); });
    return steps;
}

CError CAudioParamRegistry::applySteps(const CAudioPreset& preset, CAudioPresetScope scope,
                                       const CAudioParamLoadTarget& target, CAudioParamUndoContext* context)
{
    for (const CStep& step : stepsOf(preset, scope, target, context))
    {
        if (step.block == nullptr)
        {
            step.param->reset(target.group == everyIndex ? allGroups : target.group, target.element, context,
                              target.isLast);
            continue;
        }
        CMemoryReader reader(*step.block);
        KOR_TRY(step.param->load(reader, target, context));
    }
    return {};
}

// A change of the parameter that selects from this registry's list, under its lock. The list's own parameters change
// here, and one of them may in turn select: that is nobody's wish, and would never end.
void CAudioParamRegistry::onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext* context)
{
    CLockHolder hold(selectionLock);
    if (isSelecting || (!isElementEnum && request.firstElement != 0))
        return;
    isSelecting = true;
    const std::shared_ptr<const CAudioPresetBank> selectable = presets();
    const CAudioParamStorage& values = request.param->values();
    const int firstGroup = request.group == allGroups ? 0 : request.group;
    const int endGroup = request.group == allGroups ? values.groupCount() : request.group + 1;
    const int endElement = request.firstElement + request.elementCount;
    for (int g = firstGroup; g < endGroup; ++g)
    {
        if (!isElementEnum)
            select(selectable.get(), values.getValue(g, 0), {.group = g}, context);
        else
            for (int e = request.firstElement; e < endElement; ++e)
                select(selectable.get(), values.getValue(g, e),
                       {.group = g, .element = e, .isLast = request.cut && e + 1 == endElement}, context);
    }
    isSelecting = false;
}

void CAudioParamRegistry::select(const CAudioPresetBank* presets, double value, const CAudioParamLoadTarget& target,
                                 CAudioParamUndoContext* context)
{
    static const CAudioPreset& allDefaults = *new CAudioPreset;
    const double index = std::nearbyint(value);
    const bool isThere = presets != nullptr && index >= 0.0 && index < static_cast<double>(presets->size());
    const CAudioPreset& preset = isThere ? presets->preset(static_cast<std::size_t>(index)) : allDefaults;
    if (CError error = applySteps(preset, CAudioPresetScope::storable, target, context))
        CLog::writeError(std::move(error));
}

// A block that does not load ends its preset there, as it does when the preset is applied.
std::unique_ptr<const CAudioParamSelectionTable> CAudioParamRegistry::selectionTable(const CAudioPresetBank* fromList)
{
    if (isElementEnum)
        return nullptr;
    auto table = std::make_unique<CAudioParamSelectionTable>();
    const auto stepsFor = [this](const CAudioPreset& preset)
    {
        CArray<CAudioParamSelectionTable::CStep> result;
        for (const CStep& step : stepsOf(preset, CAudioPresetScope::storable, {.group = 0}, nullptr))
        {
            CAudioParamSelectionTable::CStep& made = result.emplace_back();
            made.param = step.param;
            CAudioParamStorage values;
            if (step.block != nullptr)
            {
                CMemoryReader reader(*step.block);
                if (CError error = step.param->readBlock(reader, values))
                {
                    error.ignore();
                    result.pop_back();
                    break;
                }
                values.setGroupCount(std::min(values.groupCount(), 1));
            }
            else
            {
                CLockHolder hold(step.param->lock());
                values = step.param->defaultValues();
            }
            if (values.type() != CAudioParamType::real || values.groupCount() == 0)
            {
                result.pop_back();
                continue;
            }
            for (int g = 0; g < values.groupCount(); ++g)
                made.lists.emplace_back(values.values(g).begin(), values.values(g).end());
        }
        return result;
    };
    for (std::size_t i = 0; fromList != nullptr && i < fromList->size(); ++i)
        table->presets.push_back(stepsFor(fromList->preset(i)));
    table->otherwise = stepsFor({});
    return table;
}

CStringBuf CAudioParamRegistry::activationLabel(int group) const
{
    CStringBuf label = naming + " activate";
    if (group != everyIndex)
        label += " (" + (groupNames != nullptr ? groupNames->getText(0, group) : CStringBuf()) + ")";
    return label;
}

CError CAudioParamRegistry::activatePreset(CInputStream& stream, CAudioPresetScope scope, int group,
                                           CAudioPresetUndo undoing)
{
    CAudioPreset preset;
    KOR_TRY(preset.load(stream));
    if (CAudioPreset::idOf(preset.name()) != idText)
        return KOR_FAIL("Incompatible preset.");
    const CRun run(*this);
    std::unique_ptr<CAudioParamUndoRecord> record;
    if (undoing == CAudioPresetUndo::recorded)
        record = openRecord(activationLabel(group));
    CError error = apply(preset, scope, {.group = group}, record.get());
    if (!error)
        setPresetName(preset.name(), group, record.get(), nullptr);
    closeRecord(std::move(record));                 // what did change must be there to undo
    KOR_TRY(std::move(error));
    return {};
}

void CAudioParamRegistry::setDefaultPreset(CInputStream& stream)
{
    CAudioPreset preset;
    CError error = preset.load(stream);
    if (!error)
        applyDefaults(preset);
    error.ignore();
}

void CAudioParamRegistry::applyDefaults(const CAudioPreset& preset)
{
    if (CAudioPreset::idOf(preset.name()) != idText)
        return;
    CLockHolder hold(presetLock);
    if (CError error = apply(preset, CAudioPresetScope::storable, {.toDefaults = true}, nullptr))
        CLog::writeError(std::move(error));
}

void CAudioParamRegistry::takeStoredDefaults()
{
    if (!isDefaultStale.exchange(false))
        return;
    if (const std::optional<CAudioPreset> stored = readDefaultPreset())
        applyDefaults(*stored);
}

void CAudioParamRegistry::activateDefaultPreset()
{
    const CRun run(*this);
    std::unique_ptr<CAudioParamUndoRecord> record = openRecord("Master reset");
    if (CError error = apply({}, CAudioPresetScope::storable, {}, record.get()))
        CLog::writeError(std::move(error));
    resetShownName(record.get());
    if (master != nullptr && nameParam != nullptr)
        takeShownName();
    closeRecord(std::move(record));
}

bool CAudioParamRegistry::isRoutingCompatible(const CAudioPreset& preset, bool allowMidSide, bool allowSidechain)
{
    const auto isSet = [](int, double value) { return value != 0.0; };
    const auto isMoved = [](int position, double value) { return value != position; };
    const int everyGroup = CAudioParamStorage::maxGroups;
    if (!allowMidSide && hasValue(floatsOf(preset, "ms-pairs"), 1, isSet))
        return false;
    return allowSidechain || (!hasValue(floatsOf(preset, "sidechain"), everyGroup, isMoved) &&
                              !hasValue(floatsOf(preset, "sidechain-mute"), everyGroup, isSet));
}

}
