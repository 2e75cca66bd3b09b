// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CObjectClassInfo.h"

namespace kor
{

CAttrHandler CObjectClassInfo::findAttr(const CStringBuf& name) const
{
    const auto found = attrHandlers.find(name);
    return found == attrHandlers.end() ? nullptr : found->second;
}

const CObjectClassInfo::CEventEntry* CObjectClassInfo::findEvent(const CStringBuf& name) const
{
    const auto found = eventHandlers.find(name);
    return found == eventHandlers.end() ? nullptr : &found->second;
}

}
