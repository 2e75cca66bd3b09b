// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAttrValue.h"
#include "Core/CError.h"

namespace kor
{

/// Handlers of an event, without and with parameters.
using CEventHandler = CError (*)(CObject& object);
using CEventParamHandler = CError (*)(CObject& object, CAttrMap& params);

/// Handlers made of methods: `info.addAttr("gain", attrMethod<&CGain::onGain>)` for `CError onGain(CAttrValue&)`, and
/// `info.addEvent("tick", eventMethod<&CTimed::onTick>)` for `CError onTick()` or `CError onTick(CAttrMap&)`.
template <auto method, class T>
CError callAttrMethod(CError (T::*)(CAttrValue&), CObject& object, CAttrValue& value)
{
    return (static_cast<T&>(object).*method)(value);
}
template <auto method>
CError attrMethod(CObject& object, CAttrValue& value)
{
    return callAttrMethod<method>(method, object, value);
}

template <auto method, class T>
CError callEventMethod(CError (T::*)(), CObject& object)
{
    return (static_cast<T&>(object).*method)();
}
template <auto method, class T>
CError callEventMethod(CError (T::*)(CAttrMap&), CObject& object, CAttrMap& params)
{
    return (static_cast<T&>(object).*method)(params);
}
template <auto method>
CError eventMethod(CObject& object)
    requires requires { callEventMethod<method>(method, object); }
{
    return callEventMethod<method>(method, object);
}
template <auto method>
CError eventMethod(CObject& object, CAttrMap& params)
    requires requires { callEventMethod<method>(method, object, params); }
{
    return callEventMethod<method>(method, object, params);
}

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
