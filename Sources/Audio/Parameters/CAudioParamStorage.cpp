// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamStorage.h"

#include "Audio/Parameters/CAudioParamDataItemRaw.h"
#include "Audio/Parameters/CAudioParamDataItemString.h"
#include "Audio/Parameters/CAudioParamInfo.h"

#include <algorithm>

namespace kor
{

CAudioParamStorage::CAudioParamStorage() = default;
CAudioParamStorage::CAudioParamStorage(const CAudioParamStorage& other) = default;
CAudioParamStorage& CAudioParamStorage::operator=(const CAudioParamStorage& other) = default;
CAudioParamStorage::~CAudioParamStorage() = default;

CAudioParamStorage::CGroup& CAudioParamStorage::groupAt(int group) noexcept
{
    return group < inlineGroups ? firstGroups[group] : moreGroups[static_cast<std::size_t>(group - inlineGroups)];
}

const CAudioParamStorage::CGroup& CAudioParamStorage::groupAt(int group) const noexcept
{
    return group < inlineGroups ? firstGroups[group] : moreGroups[static_cast<std::size_t>(group - inlineGroups)];
}

void CAudioParamStorage::clear(const CAudioParamInfo& info)
{
    for (int g = 0; g < groups; ++g)
        groupAt(g).values.clear();
    items.clear();
    size = static_cast<std::uint32_t>(info.elementSize);
    valueType = info.type;
    isSingleGroup = info.isSingleGroup;
    isSingleElement = info.isSingleElement;
    if (isSingleGroup)
        setGroupCount(1);

    defaults = info.defaultValues;
    if (valueType == CAudioParamType::real)
        return;
    for (std::size_t g = 0; g < defaults.size(); ++g)
    {
        for (std::size_t e = 0; e < defaults[g].size(); ++e)
        {
            const CAudioParamDataItem* item;
            if (valueType == CAudioParamType::string)
                item = new CAudioParamDataItemString(info.defaultTexts[g][e]);
            else
                item = new CAudioParamDataItemRaw;
            defaults[g][e] = items.add(item);
        }
    }
}

void CAudioParamStorage::setGroupCount(int count)
{
    count = std::clamp(count, 0, isSingleGroup ? 1 : maxGroups);
    for (int g = count; g < groups; ++g)
        resize(groupAt(g).values, g, 0);
    moreGroups.resize(static_cast<std::size_t>(std::max(0, count - inlineGroups)));
    groups = count;
}

void CAudioParamStorage::reserve(int elements)
{
    for (int g = 0; g < groups; ++g)
        groupAt(g).values.reserve(static_cast<std::size_t>(elements) * size);
}

int CAudioParamStorage::groupCount() const noexcept
{
    return groups;
}

int CAudioParamStorage::elementCount(int group) const noexcept
{
    return static_cast<int>(values(group).size() / size);
}

int CAudioParamStorage::elementSize() const noexcept
{
    return static_cast<int>(size);
}

CAudioParamType CAudioParamStorage::type() const noexcept
{
    return valueType;
}

std::span<const double> CAudioParamStorage::values(int group) const noexcept
{
    if (isSingleGroup)
        group = 0;
    if (group < 0 || group >= groups)
        return {};
    return groupAt(group).values;
}

const CArray<double>* CAudioParamStorage::defaultList(int group) const noexcept
{
    if (defaults.empty())
        return nullptr;
    const std::size_t g = isSingleGroup || group < 0 ? 0 : static_cast<std::size_t>(group);
    return g < defaults.size() && !defaults[g].empty() ? &defaults[g] : &defaults[0];
}

const double* CAudioParamStorage::findElement(int group, int element) const noexcept
{
    const std::size_t e = isSingleElement || element < 0 ? 0 : static_cast<std::size_t>(element);
    const std::span<const double> list = values(group);
    if (e < list.size() / size)
        return list.data() + e * size;
    const CArray<double>* fallback = defaultList(group);
    if (fallback == nullptr || fallback->size() < size)
        return nullptr;
    return fallback->data() + (e < fallback->size() / size ? e * size : 0);
}

double CAudioParamStorage::getValue(int group, int element, int component) const noexcept
{
    const double* found = findElement(group, element);
    if (found == nullptr || component < 0 || component >= static_cast<int>(size))
        return 0.0;
    return found[component];
}

std::span<const double> CAudioParamStorage::element(int group, int element) const noexcept
{
    const double* found = findElement(group, element);
    return found != nullptr ? std::span<const double>(found, size) : std::span<const double>();
}

const CStringBuf& CAudioParamStorage::getText(int group, int element) const noexcept
{
    const double* found = valueType == CAudioParamType::string ? findElement(group, element) : nullptr;
    return found != nullptr ? items.text(CAudioParamData::idOf(*found)) : gEmptyString;
}

std::span<const unsigned char> CAudioParamStorage::getRaw(int group, int element) const noexcept
{
    const double* found = valueType == CAudioParamType::raw ? findElement(group, element) : nullptr;
    if (found == nullptr)
        return {};
    const auto* item = dynamic_cast<const CAudioParamDataItemRaw*>(items.find(CAudioParamData::idOf(*found)));
    return item != nullptr ? item->bytes() : std::span<const unsigned char>();
}

void CAudioParamStorage::fillWithDefaults()
{
    for (int g = 0; g < groups; ++g)
    {
        const CArray<double>* list = defaultList(g);
        resize(groupAt(g).values, g, 0);
        if (list != nullptr)
            resize(groupAt(g).values, g, isSingleElement ? 1 : static_cast<int>(list->size() / size));
    }
}

// New elements take the default's own items, so that a list grows without copying texts.
void CAudioParamStorage::resize(CArray<double>& list, int group, int count)
{
    const std::size_t wanted = static_cast<std::size_t>(count) * size;
    const std::size_t old = list.size();
    if (valueType != CAudioParamType::real)
        for (std::size_t i = wanted; i < old; ++i)
            items.release(CAudioParamData::idOf(list[i]));
    list.resize(wanted);
    const CArray<double>* fallback = defaultList(group);
    for (std::size_t i = old; i < wanted; ++i)
    {
        list[i] = 0.0;
        if (fallback != nullptr && fallback->size() >= size)
            list[i] = (*fallback)[i < fallback->size() ? i : i % size];
        if (valueType != CAudioParamType::real)
            items.retain(CAudioParamData::idOf(list[i]));
    }
}

double CAudioParamStorage::takeItem(double value, const CAudioParamData* source)
{
    const int id = CAudioParamData::idOf(value);
    const CAudioParamDataItem* item = source != nullptr ? source->find(id) : nullptr;
    if (item == nullptr || item->type() != valueType)
        return 0.0;
    if (source != &items)
        return items.add(item);
    items.retain(id);
    return id;
}

void CAudioParamStorage::applyToGroup(int group, int firstElement, int count, const CAudioParamRequest& request)
{
    CArray<double>& list = groupAt(group).values;
    const int old = static_cast<int>(list.size() / size);
    const int end = firstElement + count;
    if (end > old)
        resize(list, group, end);
    double* to = list.data() + static_cast<std::size_t>(firstElement) * size;
    const std::size_t total = count > 0 ? static_cast<std::size_t>(count) * size : 0;
    if (valueType == CAudioParamType::real)
        std::copy_n(request.values, total, to);
    else
        for (std::size_t i = 0; i < total; ++i)
        {
            const double taken = takeItem(request.values[i], request.items);
            items.release(CAudioParamData::idOf(to[i]));
            to[i] = taken;
        }
    if (request.cut && end < old)
        resize(list, group, end);
}

void CAudioParamStorage::applyChange(const CAudioParamRequest& request)
{
    int first = request.firstElement;
    int count = request.elementCount;
    if (request.elementSize != static_cast<int>(size) || request.type != valueType || first < 0 || count < 0 ||
        (count > 0 && request.values == nullptr))
        return;
    if (isSingleElement)
    {
        first = 0;
        count = std::min(count, 1);
    }
    if (first > maxElements || (first == maxElements && count > 0))
        return;
    count = std::min(count, maxElements - first);

    if (isSingleGroup || request.group != allGroups)
    {
        const int group = isSingleGroup ? 0 : request.group;
        if (group >= 0 && group < groups)
            applyToGroup(group, first, count, request);
        return;
    }
    for (int g = 0; g < groups; ++g)
        applyToGroup(g, first, count, request);
}

void CAudioParamStorage::clampTo(const CAudioParamInfo& info)
{
    for (int g = 0; g < groups; ++g)
    {
        CArray<double>& list = groupAt(g).values;
        for (std::size_t i = 0; i < list.size(); ++i)
        {
            if (valueType == CAudioParamType::real)
                list[i] = info.clamp(static_cast<int>(i % size), list[i]);
            else if (items.find(CAudioParamData::idOf(list[i])) == nullptr)
                list[i] = 0.0;
        }
    }
}

}
