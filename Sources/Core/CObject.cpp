// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CObject.h"

#include "Core/CApplication.h"
#include "Core/CCreatorTable.h"
#include "Core/CLog.h"
#include "Core/CNotifyServer.h"
#include "Core/CTemplateBody.h"
#include "Core/CTreeReader.h"

#include <algorithm>
#include <atomic>
#include <limits>

namespace kor
{
namespace
{

std::uint64_t nextCreationOrder() noexcept
{
    static std::atomic<std::uint64_t> counter{0};
    return counter.fetch_add(1, std::memory_order_relaxed);     // only unique, orders nothing else
}

// Types that are meant to be plain objects without a creator: templates, texts and what the build tool left behind.
bool isKnownPlainTag(const CStringBuf& tag)
{
    return tag.equals("template") || tag.equals("content") || tag.equals("appdata") || tag.equals("core:shortcut");
}

}

CObject::CObject() noexcept : creationOrder(nextCreationOrder())
{
}

CObject::~CObject()
{
    withdrawLinks();
}

void CObject::initClass(CObjectClassInfo& info)
{
    info.addEvent("release-child-bridged", eventMethod<&CObject::releaseChildBridged>);
}

CError CObject::init()
{
    if (templateObject != nullptr)
        KOR_TRY(CTreeReader::applyBodyAttrs(*this, *templateObject->templateBody));
    if (postInit != nullptr && !refusesChanges())
        for (const auto& [attrName, value] : *postInit)
            KOR_TRY(setAttr(attrName, value, false));
    startState = 1;
    return {};
}

CError CObject::initAttrs()
{
    KOR_TRY(runPendingAttrs());
    startState = 2;
    if (templateObject != nullptr)
        KOR_TRY(CTreeReader::createBodyChildren(*this, *templateObject->templateBody));
    return {};
}

CError CObject::initChilds()
{
    startState = 3;
    // A tree that is still being started while the process ends turns inert.
    readOnly = CApplication::getSharedRoot() == nullptr;
    return {};
}

CError CObject::onChildAdded(CObject&)
{
    return {};
}

void CObject::uninit()
{
    if (server != nullptr)
        for (const auto& [source, events] : listenedSources)
            for (const auto& [event, handler] : events)
                server->unregisterListener(source, event, *this);
    listenedSources.clear();
    withdrawLinks();
}

void CObject::detachFromParent()
{
    if (parentObject == nullptr)
        return;
    parentObject->removeChild(*this);
    parentObject = nullptr;
}

void CObject::removeChild(CObject& child)
{
    // Children mostly go last to first.
    const auto found = std::find(childList.rbegin(), childList.rend(), &child);
    if (found != childList.rend())
        childList.erase(std::next(found).base());
    if (child.namedAmong != nullptr)
    {
        child.namedAmong->remove(child.nameIndex, child);
        child.namedAmong = nullptr;
    }
    if (child.isTemplate())
        std::erase_if(templates, [&child](const auto& entry) { return entry.second == &child; });
}

void CObject::destroy(CObject* object)
{
    if (object == nullptr)
        return;
    object->uninit();
    while (!object->childList.empty())
    {
        CObject* last = object->childList.back();
        destroy(last);
        // An override of removeChild that forgets the base class must not turn this into an endless loop.
        if (!object->childList.empty() && object->childList.back() == last)
            object->childList.pop_back();
    }
    object->detachFromParent();
    delete object;
}

void CObject::makeRoot(CNotifyServer* newServer)
{
    parentObject = nullptr;
    rootObject = this;
    server = newServer;
    id = server != nullptr ? server->takeObjectId() : -1;
    if (classInfo == nullptr)
        classInfo = &CCreatorTable::plainObjectInfo();
}

CError CObject::addChild(CObject*& child, const CStringBuf& childTag, const CStringBuf& childName, bool useTemplates)
{
    if (refusesChanges())
        return KOR_FAIL("@korstr_CObject_addChild_ReadOnly Error adding child to read-only object.");
    CObject* source = useTemplates ? findTemplate(childTag) : nullptr;
    CObject* made = createByTag(source != nullptr ? source->templateBody->baseTag() : childTag, childName);
    made->parentObject = this;
    made->rootObject = rootObject;
    made->server = server;
    made->id = server != nullptr ? server->takeObjectId() : -1;
    made->tagText = childTag;
    made->isShortcut = tagText.equals("core:shortcut");
    made->templateObject = source;
    CError failure = enterChild(*made, childName);
    if (failure)
    {
        destroy(made);
        KOR_TRY(std::move(failure));
    }
    child = made;
    return {};
}

CObject* CObject::findTemplate(const CStringBuf& templateName) const
{
    const auto lookIn = [&templateName](const CObject& object) -> CObject*
    {
        const auto found = object.templates.find(templateName);
        return found == object.templates.end() ? nullptr : found->second;
    };
    for (const CObject* object = this; object != nullptr; object = object->parentObject)
        if (!object->templates.empty())
            if (CObject* found = lookIn(*object))
                return found;
    const CObject* shared = CApplication::getSharedRoot();
    return shared != nullptr ? lookIn(*shared) : nullptr;
}

bool CObject::templateExists(const CStringBuf& templateName) const
{
    return findTemplate(templateName) != nullptr;
}

CObject* CObject::createByTag(const CStringBuf& classTag, const CStringBuf& childName) const
{
    if (const CCreatorTable::CEntry* entry = CCreatorTable::find(classTag))
    {
        CObject* made = entry->creator();
        made->classInfo = entry->info;
        return made;
    }
    if (!isKnownPlainTag(classTag))
        CLog::write("Creating CObject '"_s + childName + "' (tag '" + classTag + "')", fullNameText);
    CObject* made = new CObject;
    made->classInfo = &CCreatorTable::plainObjectInfo();
    return made;
}

CError CObject::enterChild(CObject& child, const CStringBuf& childName)
{
    static const CStringBuf& nameKey = *new CStringBuf("name");
    static const CStringBuf& fullNameKey = *new CStringBuf("full-name");

    int index = 0;
    const int hash = childName.findChar(u'#');
    CStringBuf cutName;
    if (hash >= 0)
    {
        childName.substr(cutName, 0, hash);
        bool ok = false;
        index = std::max(0, childName.substr(hash + 1).toInt(ok));
    }
    const CStringBuf& base = hash >= 0 ? cutName : childName;

    const auto [entry, isNew] = childrenByName.try_emplace(base);
    CNamedChildren& named = entry->second;
    if (isNew)
        named.counter = index;
    while (named.find(index) != nullptr)
    {
        // Whoever asked for the highest index there is sends the counter round.
        named.counter = named.counter < std::numeric_limits<int>::max() ? named.counter + 1 : 0;
        index = named.counter;
    }
    named.insert(index, child);
    child.namedAmong = &named;
    child.nameIndex = index;

    CStringBuf indexedName;
    if (index != 0)
    {
        indexedName = base;
        indexedName.append(u'#');
        indexedName.append(CStringBuf::fromInt(index));
    }
    const CStringBuf& finalName = index != 0 ? indexedName : base;
    if (rootObject != this || !fullNameText.isEmpty())
    {
        child.fullNameText = fullNameText;
        child.fullNameText.append(u'.');
    }
    child.fullNameText.append(finalName);
    child.attrs[nameKey].setPlainString(finalName);
    child.attrs[fullNameKey].setPlainString(child.fullNameText);

    childList.push_back(&child);
    KOR_TRY(onChildAdded(child));
    return {};
}

void CObject::enterTemplate(CObject& child)
{
    templates.insert_or_assign(child.getAttrString("name"), &child);
}

CError CObject::createChildObject(CObject*& child, const CStringBuf& childTag, const CStringBuf& childName,
                                  bool mustBeTemplate)
{
    if (mustBeTemplate && !templateExists(childTag))
        return KOR_FAIL("@korstr_CObject_createChild_NoTemplate Run-time template '%1' does not exist.", childTag);
    KOR_TRY(addChild(child, childTag, childName, true));
    return {};
}

CError CObject::startChild(CObject& child, const CAttrMap* postInitAttrs, const CAttrMap* childAttrs)
{
    child.postInit = postInitAttrs;
    CError failure;
    if (childAttrs != nullptr)
        failure = child.setAttrs(*childAttrs, false);
    if (!failure)
        failure = child.start();
    child.postInit = nullptr;       // the map belongs to the caller
    if (failure)
    {
        destroy(&child);
        KOR_TRY(std::move(failure));
    }
    return {};
}

CError CObject::start()
{
    KOR_TRY(init());
    KOR_TRY(initAttrs());
    KOR_TRY(initChilds());
    startState = 4;
    return {};
}

CError CObject::failInvalidClass(const CStringBuf& childTag, const CStringBuf& childName)
{
    return KOR_FAIL("@korstr_CObject_createChild_InvalidClass Object of invalid class created (child tag '%1', child "
                    "name '%2').", childTag, childName);
}

void CObject::freezeTree()
{
    for (auto& [attrName, value] : attrs)
        value.freeze();
    frozen = true;
    for (CObject* child : childList)
        child->freezeTree();
}

}
