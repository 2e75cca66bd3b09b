// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamData.h"

#include "Audio/Parameters/CAudioParamDataItemString.h"

#include <cmath>

namespace kor
{

CAudioParamData::CAudioParamData(const CAudioParamData& other)
    : entries(other.entries), freeIds(other.freeIds), nextId(other.nextId)
{
    for (const auto& [id, entry] : entries)
        entry.item->retain();
}

CAudioParamData& CAudioParamData::operator=(const CAudioParamData& other)
{
    if (this != &other)
        *this = CAudioParamData(other);
    return *this;
}

CAudioParamData& CAudioParamData::operator=(CAudioParamData&& other) noexcept
{
    entries.swap(other.entries);
    freeIds.swap(other.freeIds);
    std::swap(nextId, other.nextId);
    return *this;
}

CAudioParamData::~CAudioParamData()
{
    clear();
}

void CAudioParamData::clear() noexcept
{
    for (const auto& [id, entry] : entries)
        entry.item->release();
    entries.clear();
    freeIds.clear();
    nextId = 1;
}

int CAudioParamData::add(const CAudioParamDataItem* item)
{
    if (item == nullptr)
        return 0;
    item->retain();
    int id = 0;
    if (!freeIds.empty())
    {
        id = freeIds.back();
        freeIds.pop_back();
    }
    else if (nextId < idLimit)
        id = nextId++;
    if (id == 0)
        item->release();
    else
        entries.emplace(id, CEntry{item, 1});
    return id;
}

void CAudioParamData::retain(int id)
{
    const auto found = entries.find(id);
    if (found != entries.end())
        ++found->second.uses;
}

void CAudioParamData::release(int id)
{
    const auto found = entries.find(id);
    if (found == entries.end() || --found->second.uses > 0)
        return;
    found->second.item->release();
    entries.erase(found);
    freeIds.push_back(id);
}

const CAudioParamDataItem* CAudioParamData::find(int id) const noexcept
{
    const auto found = entries.find(id);
    return found != entries.end() ? found->second.item : nullptr;
}

const CStringBuf& CAudioParamData::text(int id) const noexcept
{
    const auto* item = dynamic_cast<const CAudioParamDataItemString*>(find(id));
    return item != nullptr ? item->text() : gEmptyString;
}

int CAudioParamData::idOf(double value) noexcept
{
    const double rounded = std::round(value);
    return rounded >= 1 && rounded < idLimit ? static_cast<int>(rounded) : 0;
}

}
