// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CApplication.h"
#include "Core/CObject.h"

#include <algorithm>
#include <utility>

namespace kor
{
namespace
{

constexpr int maxShortcutHops = 10;

const CStringBuf& sharedPrefix()
{
    static const CStringBuf& prefix = *new CStringBuf("shared::");
    return prefix;
}

}

CObject* CObject::findObject(const CStringBuf& path)
{
    int hopsLeft = maxShortcutHops;
    return walkPath(path, hopsLeft);
}

CObject* CObject::walkPath(const CStringBuf& path, int& hopsLeft)
{
    const int length = path.length();
    if (length == 0)
        return nullptr;
    int i = 0;
    CObject* current = rootObject;
    if (path[0] == u'.' || path[0] == u'^')
        current = this;
    else if (path.startsWith(sharedPrefix()))
    {
        current = CApplication::getSharedRoot();
        i = sharedPrefix().length();
    }

    int stepStart = i;
    while (current != nullptr)
    {
        const char16_t c = i < length ? path[i] : u'\0';
        if (c == u'/')
        {
            current = rootObject;
            stepStart = i + 1;
        }
        else if (c == u'^')
        {
            current = current->parentObject;
            stepStart = i + 1;
        }
        else if (c == u'.' || c == u'\0')
        {
            if (i > stepStart)
            {
                current = current->findChild(path.substr(stepStart, i - stepStart));
                if (current != nullptr && current->isShortcut)
                {
                    if (hopsLeft == 0)
                        return nullptr;
                    --hopsLeft;
                    return current->walkPath(current->getAttrString("target") + path.substr(i), hopsLeft);
                }
            }
            if (c == u'\0')
                return current;
            stepStart = i + 1;
        }
        ++i;
    }
    return nullptr;
}

CObject* CObject::findChild(const CStringBuf& step)
{
    const int hash = step.findChar(u'#');
    const auto named = hash < 0 ? childrenByName.find(step) : childrenByName.find(step.substr(0, hash));
    if (named == childrenByName.end())
        return nullptr;
    const std::span<const CIndexedChild> all = named->second.all();
    if (all.empty())
        return nullptr;
    if (hash < 0)
        return all.front().object;
    if (hash + 1 == step.length())
        return all.back().object;

    const char16_t sign = step[hash + 1];
    const bool isStepping = sign == u'+' || sign == u'-';
    bool ok = false;
    const int number = step.substr(hash + (isStepping ? 2 : 1)).toInt(ok);
    if (!ok)
        return nullptr;
    if (!isStepping)
        return named->second.find(number);
    if (number < 0 || static_cast<std::size_t>(number) >= all.size())
        return nullptr;
    const std::size_t steps = static_cast<std::size_t>(number);
    return sign == u'+' ? all[steps].object : all[all.size() - 1 - steps].object;
}

std::span<const CObject::CIndexedChild> CObject::CNamedChildren::all() const noexcept
{
    if (sole.object != nullptr)
        return {&sole, 1};
    return list;
}

CObject* CObject::CNamedChildren::find(int index) const noexcept
{
    if (sole.object != nullptr)
        return sole.index == index ? sole.object : nullptr;
    const auto place = std::lower_bound(list.begin(), list.end(), index, comesBefore);
    return place != list.end() && place->index == index ? place->object : nullptr;
}

void CObject::CNamedChildren::insert(int index, CObject& object)
{
    if (sole.object == nullptr && list.empty())
    {
        sole = {index, &object};
        return;
    }
    if (sole.object != nullptr)
        list.push_back(std::exchange(sole, {0, nullptr}));
    list.insert(std::lower_bound(list.begin(), list.end(), index, comesBefore), {index, &object});
}

void CObject::CNamedChildren::remove(int index, const CObject& object) noexcept
{
    if (sole.object == &object)
        sole = {0, nullptr};
    const auto place = std::lower_bound(list.begin(), list.end(), index, comesBefore);
    if (place != list.end() && place->object == &object)
        list.erase(place);
}

bool CObject::CNamedChildren::comesBefore(const CIndexedChild& child, int index) noexcept
{
    return child.index < index;
}

void CObject::getFullPath(CStringBuf& out, const CStringBuf& path)
{
    const auto absoluteName = [this](const CObject& object)
    {
        const bool isElsewhere = object.rootObject == CApplication::getSharedRoot() && object.rootObject != rootObject;
        return isElsewhere ? sharedPrefix() + object.fullNameText : object.fullNameText;
    };
    if (const CObject* found = findObject(path))
    {
        out = absoluteName(*found);
        return;
    }
    int lastStart = path.length();
    while (lastStart > 0 && path[lastStart - 1] != u'.' && path[lastStart - 1] != u'^' && path[lastStart - 1] != u'/')
        --lastStart;
    CObject* holder = rootObject;
    CStringBuf last;
    if (lastStart > 0)
    {
        // What leads to the last step; its final "." would only be skipped, unless it is all there is.
        holder = findObject(path.substr(0, lastStart));
        path.substr(last, lastStart);
    }
    else if (path.startsWith(sharedPrefix()))
    {
        holder = CApplication::getSharedRoot();
        path.substr(last, sharedPrefix().length());
    }
    else
        last = path;
    if (holder == nullptr)
    {
        out = path;
        return;
    }
    CStringBuf name = absoluteName(*holder);
    if (holder->rootObject != holder)
        name.append(u'.');
    out = name + last;
}

CError CObject::requireObject(CObject*& object, const CStringBuf& path)
{
    object = findObject(path);
    if (object != nullptr)
        return {};
    CStringBuf absolute;
    getFullPath(absolute, path);
    return KOR_FAIL("@korstr_CObject_findObjectChecked_Missing Unable to find object '%1' ('%2')", path, absolute);
}

CError CObject::requireObjectByAttr(CObject*& object, const CStringBuf& attrName)
{
    const CStringBuf path = getAttrString(attrName);
    if (path.isEmpty())
        return KOR_FAIL("@korstr_CObject_findObjectByAttr_Empty Object name attribute '%1' cannot be empty.", attrName);
    object = findObject(path);
    if (object != nullptr)
        return {};
    CStringBuf absolute;
    getFullPath(absolute, path);
    return KOR_FAIL("@korstr_CObject_findObjectByAttr_Missing Name attribute '%1' refers to a non-existent object '%2' "
                    "('%3')", attrName, path, absolute);
}

CError CObject::failIncompatible(const CStringBuf& path)
{
    CStringBuf absolute;
    getFullPath(absolute, path);
    return KOR_FAIL("@korstr_CObject_findObjectChecked_Type Incompatible type of object '%1' ('%2')", path, absolute);
}

CError CObject::failIncompatibleByAttr(const CStringBuf& attrName)
{
    const CStringBuf path = getAttrString(attrName);
    CStringBuf absolute;
    getFullPath(absolute, path);
    return KOR_FAIL("@korstr_CObject_findObjectByAttr_Type Name attribute '%1' refers to object '%2' ('%3') of "
                    "incompatible type.", attrName, path, absolute);
}

}
