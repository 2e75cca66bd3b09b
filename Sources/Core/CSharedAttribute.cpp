// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CSharedAttribute.h"

namespace kor
{

void CSharedAttribute::initClass(CObjectClassInfo& info)
{
    CObject::initClass(info);
    info.addEvent("update", eventMethod<&CSharedAttribute::onUpdate>);
}

CError CSharedAttribute::init()
{
    KOR_TRY(CObject::init());
    store = getAttrBool("is-global") ? &CGlobalData::instance() : &CLocalData::instance();
    attribute = getAttrString("attribute");
    if (attribute.isEmpty())
        return KOR_FAIL("@korstr_CSharedAttribute_init_Attribute No attached attribute name specified.");
    fileName = getAttrString("data-name");
    if (fileName.isEmpty())
        fileName = name();
    // Before the first look at the store, so that no change falls between the two.
    update = bridgedHandler("update");
    storeBridge.attach(*store, fileName);
    KOR_TRY(load());
    return {};
}

void CSharedAttribute::uninit()
{
    storeBridge.detach();
    CObject::uninit();
}

CError CSharedAttribute::onStoreChanged(const CStringBuf&)
{
    KOR_TRY(update.post());
    return {};
}

CError CSharedAttribute::onUpdate()
{
    KOR_TRY(load());
    KOR_TRY(sendEvent("update"));
    return {};
}

CError CSharedAttribute::load()
{
    const CStringBuf value = readStore();
    // Followers of a value that stays the same have nothing to do.
    if (hasAttr(attribute) && getAttrString(attribute) == value)
        return {};
    KOR_TRY(setAttrPlain(attribute, value, true));
    return {};
}

CStringBuf CSharedAttribute::readStore()
{
    std::optional<CStringBuf> value = store->readText(fileName);
    return value ? *std::move(value) : getAttrString("def-value");
}

CError CSharedAttribute::save(const CStringBuf& value)
{
    if (readStore() != value)
        store->writeText(fileName, value, &storeBridge);
    KOR_TRY(load());
    return {};
}

}
