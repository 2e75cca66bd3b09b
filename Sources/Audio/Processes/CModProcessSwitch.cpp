// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModProcessSwitch.h"

#include "Audio/Processes/CModProcessSwitchDef.h"
#include "Audio/Processes/ProcessSlots.h"

namespace kor
{

namespace
{

constexpr int maxBankChilds = 128;

}

CError CModProcessSwitch::init()
{
    KOR_TRY(CAudioProcessChain::init());
    indexSlot = findSlotNamed(paramSlots, "index");
    countSlot = findSlotNamed(paramSlots, "count");
    return {};
}

void CModProcessSwitch::update()
{
    const CSelection wanted{readChoice(indexSlot, group(), element()), readChoice(countSlot, group(), element())};
    if (wanted == current)
        return;
    current = wanted;
    chain().clear();
    if (CError error = makeChilds(wanted))
    {
        chain().clear();
        report(std::move(error));
    }
}

CError CModProcessSwitch::makeChilds(const CSelection& selection)
{
    const CModProcessSwitchDef& switchDef = static_cast<const CModProcessSwitchDef&>(definition());
    const CAudioProcessDefBase* chosen = switchDef.find(selection.index);
    if (chosen == nullptr)
        return {};
    const int count = switchDef.isAllpassBank() ? std::min(selection.count - element() - 1, maxBankChilds) : 1;
    const CStringBuf childName = switchDef.childName(name());
    for (int i = 0; i < count; ++i)
    {
        std::unique_ptr<CAudioProcessBase> child;
        KOR_TRY(makeNode(child, *chosen, childName));
        chain().append(std::move(child));
    }
    return {};
}

}
