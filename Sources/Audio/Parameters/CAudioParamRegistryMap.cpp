// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamRegistryMap.h"

#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Parameters/CAudioParamDef.h"
#include "Core/CApplication.h"

#include <string_view>

namespace kor
{

namespace
{

// Keys come from files. Anything that a path could read as more than steps down is no key.
bool isPlainKey(const CStringBuf& key)
{
    constexpr std::u16string_view refused = u"^/#{}";
    bool isStepOpen = false;
    for (int i = 0; i < key.length(); ++i)
    {
        const char16_t c = key[i];
        if (refused.find(c) != std::u16string_view::npos || c == 0 || (c == u'.' && !isStepOpen))
            return false;
        isStepOpen = c != u'.';
    }
    return isStepOpen;
}

bool isStorable(const CAudioParamInfo& info)
{
    return info.isStorable || info.isPersistent;
}

}

void CAudioParamRegistryMap::setUp(CAudioParamCollector& owner, const CStringBuf& ownPrefix)
{
    collector = &owner;
    keyPrefix = ownPrefix;
}

CError CAudioParamRegistryMap::readRemaps(const CStringBuf& text)
{
    CArray<CStringBuf> pieces;
    text.split(pieces, ' ', true);
    for (const CStringBuf& piece : pieces)
    {
        CArray<CStringBuf> sides;
        piece.split(sides, '=', false);
        if (sides.size() != 2 || sides[0].isEmpty() || sides[1].isEmpty())
            return KOR_FAIL("Invalid remapping string '%1' defined.", piece);
        remaps.emplace_back(std::move(sides[0]), std::move(sides[1]));
    }
    return {};
}

bool CAudioParamRegistryMap::covers(const CStringBuf& fullName) const noexcept
{
    return fullName.length() > keyPrefix.length() && fullName.startsWith(keyPrefix);
}

void CAudioParamRegistryMap::add(CAudioParam& param)
{
    // Of parameters that share a name the collector finds one, and that one alone can be storable.
    if (!covers(param.fullName()) || collector->findParam(param.fullName()) != &param)
        return;
    CLockHolder hold(lock);
    pending.push_back(&param);
}

std::shared_ptr<const CAudioParamRegistryMap::CParams> CAudioParamRegistryMap::params()
{
    CLockHolder hold(lock);
    if (!pending.empty())
    {
        auto next = std::make_shared<CParams>(*entered);
        for (; !pending.empty(); pending.pop_back())
            (*next)[pending.back()->fullName().substr(keyPrefix.length())] = pending.back();
        entered = std::move(next);
    }
    return entered;
}

CAudioParam* CAudioParamRegistryMap::paramOfKey(const CStringBuf& key)
{
    const std::shared_ptr<const CParams> known = params();
    const auto found = known->find(key);
    if (found != known->end() && found->second->hasInfo())
        return found->second;
    if (!isPlainKey(key))
        return nullptr;
    const CStringBuf fullName = keyPrefix + key;
    const CAudioParamDef* const definition = findDefinition(fullName);
    if (definition == nullptr || !isStorable(definition->info()))
        return nullptr;
    return &collector->defineParam(fullName, *definition);
}

const CAudioParamDef* CAudioParamRegistryMap::findDefinition(CStringBuf fullName) const
{
    for (const auto& [from, to] : remaps)
        if (fullName == from || fullName.startsWith(from + "."))
            fullName.replace(0, from.length(), to);
    CObject* const shared = CApplication::getSharedRoot();
    return shared != nullptr ? dynamic_cast<const CAudioParamDef*>(shared->findObject(fullName)) : nullptr;
}

}
