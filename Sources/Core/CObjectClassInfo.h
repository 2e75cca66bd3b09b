// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAttrValue.h"

namespace kor
{

/// Handlers of an event, without and with parameters.
using CEventHandler = CError (*)(CObject& object);
using CEventParamHandler = CError (*)(CObject& object, CAttrMap& params);

// What the objects of one type share: how they react to attributes and to events. One per type for the life of the
// process; filled by the type's init function at the start and only read from then on.
class CObjectClassInfo
{
public:
    struct CEventEntry
    {
        CEventHandler plain = nullptr;
        CEventParamHandler withParams = nullptr;
    };

    void addAttr(const CStringBuf& name, CAttrHandler handler) { attrHandlers[name] = handler; }
    void addEvent(const CStringBuf& name, CEventHandler handler) { eventHandlers[name] = {handler, nullptr}; }
    void addEvent(const CStringBuf& name, CEventParamHandler handler) { eventHandlers[name] = {nullptr, handler}; }

    CAttrHandler findAttr(const CStringBuf& name) const;
    const CEventEntry* findEvent(const CStringBuf& name) const;

private:
    CMap<CStringBuf, CAttrHandler> attrHandlers;
    CMap<CStringBuf, CEventEntry> eventHandlers;
};

}
