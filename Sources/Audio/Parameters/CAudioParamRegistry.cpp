// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamRegistry.h"

#include "Audio/Parameters/CAudioParamRegistryNameBridge.h"
#include "Audio/Parameters/CAudioPresetNameList.h"
#include "Core/CLog.h"
#include "Core/CMemoryReader.h"

#include <algorithm>

namespace kor
{

namespace
{

const char* const defaultPresetName = "default-preset";

// Changes a parameter that shows a name. No preset holds the master's, so it enters no record of undo by itself, and yet
// a step back must bring the name back with the values.
template <class Change>
void changeShownName(CAudioParam& param, int group, CAudioParamUndoContext* context, Change&& change)
{
    const CAudioParamRegistryNameBridge::COwnChange own;
    const CAudioParamInfo& info = param.info();
    CLockHolder hold(param.lock());
    CAudioParamRequest request;
    request.group = info.isSingleGroup ? 0 : group;
    request.type = info.type;
    request.isSingleGroup = info.isSingleGroup;
    request.isSingleElement = info.isSingleElement;
    const bool isLeftOut = context != nullptr && param.hasInfo() && !info.isStorable && !info.isPersistent;
    if (isLeftOut)
        context->recordOld(param, request);
    change();
    if (isLeftOut)
        context->recordNew(param, request);
}

}

CAudioParamRegistry::CAudioParamRegistry() : storeBridge(*this, &CAudioParamRegistry::onStoreWritten) {}

CAudioParamRegistry::~CAudioParamRegistry() = default;

CError CAudioParamRegistry::init()
{
    KOR_TRY(CObject::init());
    idText = getAttrString("id");
    CAudioParamCollector* found = nullptr;
    KOR_TRY(findObjectByAttr(found, "param-collector"));
    map.setUp(*found, getAttrString("hierarchy") + ".");
    KOR_TRY(map.readRemaps(getAttrString("def-name-remap")));
    isEnumerated = getAttrBool("is-enumerated");
    isElementEnum = getAttrBool("is-element-enum");
    collector = found;
    KOR_TRY(findPartners());
    meetRegistries();
    if (getAttrBool("is-master"))
        initMaster();
    if (isEnumerated && !getAttrString("store-name").isEmpty())
        initList();

    collector->addHook(*this);
    collector->forEachParam(
        [this](CAudioParam& param)
        {
            onParamAdded(param);
            if (param.hasInfo())
                onParamDefined(param);
        });
    return {};
}

void CAudioParamRegistry::uninit()
{
    storeBridge.detach();
    if (collector != nullptr)
    {
        collector->removeHook(*this);
        for (CAudioParam* param : selectors)
            param->setSelectionHook(nullptr);
        nameBridge.reset();
        collector = nullptr;
    }
    CObject::uninit();
}

CError CAudioParamRegistry::findPartners()
{
    naming = getAttrString("preset-naming");
    if (const CStringBuf& path = getAttrString("param-undo"); !path.isEmpty())
    {
        CObject* offering = nullptr;
        KOR_TRY(findObjectChecked(offering, path));
        undoHistory = dynamic_cast<CAudioParamUndo*>(offering);
        if (undoHistory == nullptr)
            return KOR_FAIL("The object '%1' offers no undo history.", path);
    }
    nameParam = findParam("preset-name-param");
    groupNames = findParam("group-names-param");
    return {};
}

CAudioParam* CAudioParamRegistry::findParam(const char* attrName)
{
    const CStringBuf& name = getAttrString(attrName);
    return name.isEmpty() ? nullptr : &collector->getParam(name);
}

// Whichever of two registries starts later tells both.
void CAudioParamRegistry::meetRegistries()
{
    if (parent() == nullptr)
        return;
    for (CObject* child : parent()->children())
    {
        auto* const other = dynamic_cast<CAudioParamRegistry*>(child);
        if (other == nullptr || other == this || other->collector != collector)
            continue;
        if (other->isEnumerated)
            selectedPrefixes.push_back(other->map.prefix());
        if (isEnumerated)
            other->selectedPrefixes.push_back(map.prefix());
    }
}

void CAudioParamRegistry::initMaster()
{
    master = std::make_unique<CMaster>();
    master->factory.name = "Factory ROM";
    master->session.name = "Session Bank";
    if (const CStringBuf& file = getAttrString("file"); !file.isEmpty())
    {
        CAudioPresetBank loaded;
        if (CError error = loaded.loadFile(file))
        {
            CLog::writeError(std::move(error));
            master->factory = master->session;
        }
        else
            master->session = master->factory = std::move(loaded);
    }
    if (master->session.size() == 0)
        master->session.append().setName(idText + ":Default");
    master->histories.resize(master->session.size());
    if (std::optional<CAudioPreset> stored = readDefaultPreset())
        master->session.preset(0) = std::move(*stored);
    if (nameParam != nullptr)
        nameBridge = std::make_unique<CAudioParamRegistryNameBridge>(*this, *nameParam);
    storeBridge.attach(CLocalData::instance(), defaultPresetName);
}

// A list that does not parse is reported and keeps no instance from starting; nothing is selected from it then.
void CAudioParamRegistry::initList()
{
    listName = getAttrString("store-name");
    isListGlobal = listName.startsWith("/");
    if (isListGlobal)
        listName = listName.substr(1);
    storeBridge.attach(isListGlobal ? CGlobalData::instance() : CLocalData::instance(), listName);
    readList();
}

// While the registry starts, another thread may write the list: of two readings, the one that began later has the newer.
void CAudioParamRegistry::readList()
{
    const unsigned reading = ++listReadings;
    std::shared_ptr<const CAudioPresetBank> found = readPresetList(
        isListGlobal ? CGlobalData::instance() : CLocalData::instance(), listName, fullName());
    CLockHolder hold(listLock);
    if (reading < listReading)
        return;
    listReading = reading;
    list = std::move(found);
}

// On the thread of whoever wrote the store, under the store's lock: a list is swapped for another at once, while
// defaults wait for the next operation, since they take the preset lock.
CError CAudioParamRegistry::onStoreWritten(const CStringBuf& storeName)
{
    if (storeName == listName)
        readList();
    else
        isDefaultStale = true;
    return {};
}

std::optional<CAudioPreset> CAudioParamRegistry::readDefaultPreset() const
{
    CByteArray bytes;
    CLocalData::instance().read(defaultPresetName, bytes, CAudioPreset::format());
    if (bytes.empty())
        return {};
    CMemoryReader reader(bytes);
    std::optional<CAudioPreset> preset(std::in_place);
    if (CError error = preset->load(reader))
    {
        CLog::writeError(std::move(error));
        return {};
    }
    return preset;
}

void CAudioParamRegistry::onParamAdded(CAudioParam& param)
{
    map.add(param);
    if (master == nullptr && !isEnumerated && nameParam != nullptr && nameParam != &param &&
        map.covers(param.fullName()))
        param.linkName(*nameParam);
}

void CAudioParamRegistry::onParamDefined(CAudioParam& param)
{
    if (param.info().paramRegistry != fullName())
        return;
    param.setSelectionHook(this);
    CLockHolder hold(listLock);
    if (std::ranges::find(selectors, &param) == selectors.end())
        selectors.push_back(&param);
}

void CAudioParamRegistry::markUser(const CAudioParam& param, int group, CAudioParamUndoContext* context)
{
    if (!param.info().isStorable)
        return;
    for (CAudioParam* const nameParam : param.nameParams())
    {
        if (nameParam->info().type != CAudioParamType::string)
            continue;
        CAudioParamChangeScope scope;
        CLockHolder hold(nameParam->lock());
        const int groups = nameParam->values().groupCount();
        const bool isSingle = nameParam->info().isSingleGroup;
        const int first = group == allGroups || isSingle ? 0 : group;
        const int end = group == allGroups ? groups : std::min(first + 1, groups);
        for (int g = first; g < end; ++g)
            if (!nameParam->getText(g, 0).equals("User"))
                nameParam->setText(g, 0, "User", context);
    }
}

void CAudioParamRegistry::showName(const CStringBuf& fullName, int group, CAudioParamUndoContext* context)
{
    if (nameParam == nullptr)
        return;
    const int shownGroup = std::max(group, 0);
    changeShownName(*nameParam, shownGroup, context,
                    [&] { nameParam->setText(shownGroup, 0, CAudioPreset::titleOf(fullName), context); });
}

void CAudioParamRegistry::resetShownName(CAudioParamUndoContext* context)
{
    if (nameParam != nullptr)
        changeShownName(*nameParam, allGroups, context, [&] { nameParam->reset(allGroups, everyIndex, context); });
}

std::shared_ptr<const CAudioPresetBank> CAudioParamRegistry::presets() const
{
    CLockHolder hold(listLock);
    return list;
}

void CAudioParamRegistry::addListener(CAudioParamRegistryListener& listener)
{
    CLockHolder hold(listLock);
    listeners.push_back(&listener);
}

void CAudioParamRegistry::removeListener(CAudioParamRegistryListener& listener)
{
    CLockHolder hold(listLock);
    std::erase(listeners, &listener);
}

void CAudioParamRegistry::tellListeners(const CAudioParamRegistryListener* sender)
{
    CAudioParamChangeScope::defer(
        [this, sender]
        {
            CArray<CAudioParamRegistryListener*> told;
            {
                CLockHolder hold(listLock);
                told = listeners;
            }
            for (CAudioParamRegistryListener* listener : told)
                listener->onProgramsChanged(*this, sender);
        });
}

void CAudioParamRegistry::setRoutingHandler(CRoutingHandler handler)
{
    routingHandler = std::move(handler);
}

}
