// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModFilterDefBase.h"

#include "Audio/Parameters/CAudioParamAllocDef.h"

namespace kor
{

CError CModFilterDefBase::init()
{
    KOR_TRY(CAudioProcessDefBase::init());
    const CStringBuf path = getAttrString("gen-array");
    genArray = path.isEmpty() ? nullptr : dynamic_cast<const CAudioFilterGenArray*>(findObject(path));
    if (genArray == nullptr)
        return KOR_FAIL("The 'gen-array' '%1' not found.", path);
    return {};
}

CError CModFilterDefBase::initChilds()
{
    KOR_TRY(CAudioProcessDefBase::initChilds());
    for (const CAudioParamAllocDef* alloc : paramAllocs())
    {
        if (isOwnParam(alloc->paramName()))
            continue;
        if (!names.add(alloc->paramName()))
            return KOR_FAIL("More than %1 design parameters.", CAudioFilterParamNames::maxCount);
        designSlots.push_back(alloc->index());
    }
    return {};
}

bool CModFilterDefBase::isOwnParam(const CStringBuf& paramName) const
{
    // "count" and "points" are reserved: filters built from lists would read them.
    return paramName.equals("index") || paramName.equals("count") || paramName.equals("points");
}

int CModFilterDefBase::slotOf(std::string_view paramName) const noexcept
{
    for (const CAudioParamAllocDef* alloc : paramAllocs())
        if (alloc->paramName().equals(paramName))
            return alloc->index();
    return -1;
}

}
