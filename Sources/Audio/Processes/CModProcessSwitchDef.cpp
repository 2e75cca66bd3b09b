// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModProcessSwitchDef.h"

#include "Audio/Processes/CModProcessSwitch.h"

namespace kor
{

CError CModProcessSwitchDef::init()
{
    KOR_TRY(CAudioProcessDefBase::init());
    defIndex = getAttrInt("def-index");
    defChildName = getAttrString("def-child-name");
    makesBank = getAttrBool("is-allpass-bank");
    return {};
}

CError CModProcessSwitchDef::initChilds()
{
    KOR_TRY(CAudioProcessDefBase::initChilds());
    listed.clear();
    CArray<CStringBuf> items;
    getAttrString("process-list").split(items, u';', false);
    for (std::size_t i = 0; i < items.size(); ++i)
    {
        const CStringBuf item = items[i].trimmed();
        if (!item.isEmpty())
            KOR_TRY(readItem(item, static_cast<int>(i) + 1));
    }
    return {};
}

CError CModProcessSwitchDef::readItem(const CStringBuf& item, int number)
{
    const int colon = item.findChar(u':');
    if (colon < 0)
        return KOR_FAIL("No index delimiter ':' found in item #%1.", number);
    const CStringBuf indexText = item.substr(0, colon).trimmed();
    bool isReadable = false;
    const int index = indexText.toInt(isReadable);
    if (!isReadable)
        return KOR_FAIL("Invalid index value '%1' in item #%2.", indexText, number);
    if (listed.contains(index))
        return KOR_FAIL("Duplicate index value '%1' used in item #%2.", index, number);

    const CStringBuf path = item.substr(colon + 1).trimmed();
    const auto* found = path.isEmpty() ? nullptr : dynamic_cast<const CAudioProcessDefBase*>(findObject(path));
    if (found == nullptr)
        return KOR_FAIL("No process definition found at '%1' in item #%2.", path, number);
    // Whatever else exists by now was complete before this definition, so that only those around it lead in circles.
    for (const CObject* around = this; around != nullptr; around = around->parent())
    {
        if (around == found)
            return KOR_FAIL("Process definition '%1' in item #%2 contains the switch itself.", path, number);
    }
    listed.emplace(index, found);
    return {};
}

std::unique_ptr<CAudioProcessBase> CModProcessSwitchDef::createObject() const
{
    return std::make_unique<CModProcessSwitch>();
}

void CModProcessSwitchDef::visitChildDefs(const CStringBuf& nodeName, const CChildVisitor& visit) const
{
    const CStringBuf name = childName(nodeName);
    CSet<const CAudioProcessDefBase*> visited;
    for (const auto& [index, child] : listed)
    {
        if (visited.insert(child).second)
            visit(*child, name);
    }
}

const CAudioProcessDefBase* CModProcessSwitchDef::find(int index) const noexcept
{
    auto found = listed.find(index);
    if (found == listed.end())
        found = listed.find(defIndex);
    return found != listed.end() ? found->second : nullptr;
}

CStringBuf CModProcessSwitchDef::childName(const CStringBuf& nodeName) const
{
    return defChildName.isEmpty() ? nodeName : nodeName + "." + defChildName;
}

}
