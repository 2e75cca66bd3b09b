// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CCreatorTable.h"

#include "Core/CObject.h"

#include <memory>

namespace kor
{
namespace
{

using CEntries = CMap<CStringBuf, CCreatorTable::CEntry>;

CEntries& entries()
{
    static CEntries& table = *new CEntries;         // never destroyed: objects may outlive static destruction
    return table;
}

}

CError CCreatorTable::registerCreator(const CStringBuf& tag, CObjectCreator creator, CClassInit classInit)
{
    const auto [place, isNew] = entries().try_emplace(tag, CEntry{creator, nullptr});
    if (!isNew)
        return KOR_FAIL("@korstr_CCreatorTable_registerCreator_Twice Creator for '%1' has already been registered.",
                        tag);
    auto info = std::make_unique<CObjectClassInfo>();
    CObject::initClass(*info);
    classInit(*info);
    place->second.info = info.release();
    return {};
}

const CCreatorTable::CEntry* CCreatorTable::find(const CStringBuf& tag)
{
    const auto found = entries().find(tag);
    return found == entries().end() ? nullptr : &found->second;
}

const CObjectClassInfo& CCreatorTable::plainObjectInfo()
{
    static const CObjectClassInfo& info = []() -> const CObjectClassInfo&
    {
        auto* made = new CObjectClassInfo;
        CObject::initClass(*made);
        return *made;
    }();
    return info;
}

}
