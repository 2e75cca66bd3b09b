// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CParamListener.h"

#include "Other/Interface/CInterfaceMessage.h"
#include "Other/Interface/CParamChange.h"

#include <algorithm>

namespace kor
{

namespace
{

/// Values of `store` as a change of a group, from an element on.
CAudioParamRequest rangeOf(const CAudioParamStorage& store, int group, int first, int count)
{
    CAudioParamRequest range;
    range.group = group;
    range.firstElement = first;
    range.elementCount = count;
    range.elementSize = store.elementSize();
    range.type = store.type();
    range.values =
        store.values(group).data() + static_cast<std::size_t>(first) * static_cast<std::size_t>(store.elementSize());
    range.items = &store.data();
    return range;
}

CInterfaceMessage infoMessage(std::uint32_t id, const CAudioParamInfo& info)
{
    CInterfaceMessage message("update-param-info");
    message.number(id);
    info.save(message.stream()).ignore(); // to memory
    return message;
}

}

CParamListener::CParamListener(CParamInterfaceBaseConnector& toClients, std::uint32_t id, const CStringBuf& paramName)
    : connector(toClients), listenerId(id), name(paramName)
{
}

CAudioParam* CParamListener::param() const
{
    CLockHolder hold(lock);
    return attached;
}

void CParamListener::meet(CAudioParam& param, CSending kind)
{
    CLockHolder holdParam(param.lock());
    bool isNew = false;
    {
        CLockHolder hold(lock);
        if (isClosed || (attached != nullptr && attached != &param))
            return;
        isNew = attached == nullptr;
        attached = &param;
    }
    if (isNew)
        param.addHook(*this);
    sendStateOf(param, kind);
}

void CParamListener::sendState(CSending kind)
{
    if (CAudioParam* const known = param())
        meet(*known, kind);
    else
        send(infoMessage(listenerId, {}).number(false).block(), kind);
}

void CParamListener::close()
{
    CAudioParam* known = nullptr;
    {
        CLockHolder hold(lock);
        isClosed = true;
        known = attached;
    }
    if (known != nullptr)
        known->removeHook(*this);
}

// The definition with the defaults, which a change for all groups carries, then each group's own list.
void CParamListener::sendStateOf(const CAudioParam& param, CSending kind)
{
    const CAudioParamInfo& info = param.info();
    CInterfaceMessage message = infoMessage(listenerId, info);
    message.number(param.hasInfo());
    if (!param.hasInfo())
    {
        send(message.block(), kind);
        return;
    }
    const CAudioParamStorage& defaults = param.defaultValues();
    CAudioParamRequest list = rangeOf(defaults, 0, 0, defaults.elementCount(0));
    list.group = allGroups;
    list.cut = true;
    list.isSingleGroup = info.isSingleGroup;
    list.isSingleElement = info.isSingleElement;
    CParamChange::write(message.stream(), list).ignore();
    send(message.block(), kind);
    const CAudioParamStorage& values = param.values();
    for (int g = 0; g < values.groupCount(); ++g)
    {
        CAudioParamRequest whole;
        whole.group = g;
        whole.elementCount = values.elementCount(g);
        whole.cut = true;
        if (whole.elementCount > 0)
            sendGroup(param, whole, kind);
    }
}

void CParamListener::onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext*)
{
    const CAudioParam& param = *request.param;
    if (request.group == allGroups)
        sendStateOf(param, CSending::update);
    else
        sendGroup(param, request, CSending::update);
}

// What the store holds now: a follower of the parameter that has changed it again meanwhile has sent its change
// already, and the older one must not undo it at the client.
void CParamListener::sendGroup(const CAudioParam& param, CAudioParamRequest range, CSending kind)
{
    const CAudioParamStorage& values = param.values();
    const int held = values.elementCount(range.group);
    const int first = std::min(range.firstElement, held);
    const int count = range.cut ? held - first : std::min(range.elementCount, held - first);
    CAudioParamRequest now = rangeOf(values, range.group, first, count);
    now.cut = range.cut;
    now.isSingleGroup = param.info().isSingleGroup;
    now.isSingleElement = param.info().isSingleElement;
    CInterfaceMessage message("update-param");
    message.number(listenerId);
    CParamChange::write(message.stream(), now).ignore();
    send(message.block(), kind);
}

void CParamListener::send(CByteArray block, CSending kind)
{
    connector.send(static_cast<int>(listenerId >> 16), std::move(block), kind);
}

}
