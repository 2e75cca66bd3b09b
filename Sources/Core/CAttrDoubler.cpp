// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CAttrDoubler.h"

namespace kor
{

void CAttrDoubler::initClass(CObjectClassInfo& info)
{
    CObject::initClass(info);
    info.addAttr("value", attrMethod<&CAttrDoubler::onValue>);
}

CError CAttrDoubler::init()
{
    KOR_TRY(CObject::init());
    CArray<CStringBuf> paths;
    getAttrString("target").split(paths, u' ', true);
    if (paths.empty())
        return KOR_FAIL("@korstr_CAttrDoubler_init_None No target objects specified.");
    for (const CStringBuf& path : paths)
    {
        CObject* object = findObject(path);
        if (object == nullptr)
            return KOR_FAIL("@korstr_CAttrDoubler_init_Missing Target object '%1' not found.", path);
        targets.push_back(std::make_unique<CTarget<CObject>>(*this));
        targets.back()->set(*object);
    }
    return {};
}

CError CAttrDoubler::onValue(CAttrValue& value)
{
    const CStringBuf attr = getAttrString("attr");
    for (const auto& target : targets)
        if (*target)
            KOR_TRY((*target)->setAttr(attr, value, true));
    return {};
}

}
