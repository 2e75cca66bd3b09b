// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CAudioVizSlotManager.h"

namespace kor
{

CAudioVizSlotManager& CAudioVizSlotManager::get()
{
    static CAudioVizSlotManager& manager = *new CAudioVizSlotManager;
    return manager;
}

CAudioVizSlotManager::CAudioVizSlotManager()
{
    owners.fill(-1);
}

int CAudioVizSlotManager::newInstanceId()
{
    CLockHolder hold(lock);
    return ++instanceCounter;
}

void CAudioVizSlotManager::publish(int instanceId, const CMap<int, CStringBuf>& ownTexts, unsigned ticket,
                                   unsigned& lastTicket)
{
    CLockHolder hold(lock);
    if (ticket < lastTicket)
        return;
    lastTicket = ticket;
    bool isChanged = false;
    for (int i = 0; i < slotCount; ++i)
    {
        CStringBuf& text = texts[static_cast<std::size_t>(i)];
        int& owner = owners[static_cast<std::size_t>(i)];
        const auto own = ownTexts.find(i);
        if (own == ownTexts.end())
        {
            if (owner != instanceId)
                continue;
            text.clear();
            owner = -1;
            isChanged = true;
        }
        else if (owner != instanceId || text != own->second)
        {
            text = own->second;
            owner = instanceId;
            isChanged = true;
        }
    }
    nameGeneration += isChanged ? 1 : 0;
}

int CAudioVizSlotManager::generation()
{
    CLockHolder hold(lock);
    return nameGeneration;
}

CArray<std::pair<int, CStringBuf>> CAudioVizSlotManager::names()
{
    CArray<std::pair<int, CStringBuf>> used;
    CLockHolder hold(lock);
    for (int i = 0; i < slotCount; ++i)
        if (const CStringBuf& text = texts[static_cast<std::size_t>(i)]; !text.isEmpty())
            used.emplace_back(i, text);
    return used;
}

}
