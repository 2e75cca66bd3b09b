// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CTarget.h"

namespace kor
{

CTargetBase::~CTargetBase()
{
    clear();
}

void CTargetBase::listen(const CStringBuf& eventName, const CStringBuf& handlerName)
{
    listener.listenObject(fullName, eventName, handlerName);
    events.insert(eventName);
}

void CTargetBase::clear()
{
    for (const CStringBuf& eventName : events)
        listener.unlistenObject(fullName, eventName);
    events.clear();
    fullName.clear();
    leaveSource();
}

void CTargetBase::follow(CObject& object)
{
    source = &object;
    fullName = object.fullName();
    // A frozen object outlives every tree, and all threads read it.
    if (object.isFrozen())
        return;
    nextOfSource = object.followers;
    object.followers = this;
}

void CTargetBase::leaveSource() noexcept
{
    if (source == nullptr)
        return;
    for (CTargetBase** link = &source->followers; *link != nullptr; link = &(*link)->nextOfSource)
        if (*link == this)
        {
            *link = nextOfSource;
            break;
        }
    source = nullptr;
}

}
