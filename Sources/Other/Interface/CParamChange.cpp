// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CParamChange.h"

#include "Audio/Parameters/CAudioParamDataFormat.h"
#include "Audio/Parameters/CAudioParamInfo.h"
#include "Audio/Parameters/CAudioParamStorage.h"

namespace kor
{

namespace
{

CError readUpTo(CInputStream& stream, std::uint32_t& value, std::uint32_t limit, const char* what)
{
    KOR_TRY(stream.readU32(value));
    if (value > limit)
        return KOR_FAIL("Invalid change: the %1 is %2 (at most %3).", what, value, limit);
    return {};
}

}

CError CParamChange::read(CInputStream& stream)
{
    std::uint32_t group = 0;
    std::uint32_t first = 0;
    std::uint32_t count = 0;
    std::uint32_t cut = 0;
    std::uint32_t size = 0;
    std::uint32_t type = 0;
    std::uint32_t isSingleGroup = 0;
    std::uint32_t isSingleElement = 0;
    KOR_TRY(stream.readU32(group));
    if (group >= CAudioParamStorage::maxGroups && group != allGroups)
        return KOR_FAIL("Invalid change: the group is %1.", group);
    KOR_TRY(readUpTo(stream, first, CAudioParamStorage::maxElements, "first element"));
    KOR_TRY(readUpTo(stream, count, CAudioParamStorage::maxElements - first, "element count"));
    KOR_TRY(readUpTo(stream, cut, 1, "cut flag"));
    KOR_TRY(readUpTo(stream, size, CAudioParamInfo::maxElementSize, "element size"));
    KOR_TRY(readUpTo(stream, type, static_cast<std::uint32_t>(CAudioParamType::raw), "data type"));
    KOR_TRY(readUpTo(stream, isSingleGroup, 1, "single-group flag"));
    KOR_TRY(readUpTo(stream, isSingleElement, 1, "single-element flag"));

    CArray<double> readValues;
    CAudioParamData readItems;
    const bool isItem = type != static_cast<std::uint32_t>(CAudioParamType::real);
    for (std::uint32_t i = 0; i < count * size; ++i)
    {
        std::uint32_t id = 0;
        double value = 0.0;
        if (isItem)
            KOR_TRY(stream.readU32(id));
        else
            KOR_TRY(stream.readDouble(value));
        readValues.push_back(isItem ? id : value);
    }
    if (isItem)
    {
        CAudioParamDataIds ids;
        KOR_TRY(readDataItems(stream, readItems, ids));
        for (double& value : readValues)
        {
            const auto known = ids.find(static_cast<std::uint32_t>(value));
            value = known != ids.end() ? known->second : 0.0;
        }
    }

    values = std::move(readValues);
    items = std::move(readItems);
    change = {};
    change.group = static_cast<int>(group);
    change.firstElement = static_cast<int>(first);
    change.elementCount = static_cast<int>(count);
    change.cut = cut != 0;
    change.elementSize = static_cast<int>(size);
    change.type = static_cast<CAudioParamType>(type);
    change.isSingleGroup = isSingleGroup != 0;
    change.isSingleElement = isSingleElement != 0;
    change.values = values.data();
    change.items = &items;
    return {};
}

CError CParamChange::write(COutputStream& stream, const CAudioParamRequest& request)
{
    const auto number = [&](auto value) { return stream.writeU32(static_cast<std::uint32_t>(value)); };
    KOR_TRY(number(request.group));
    KOR_TRY(number(request.firstElement));
    KOR_TRY(number(request.elementCount));
    KOR_TRY(number(request.cut));
    KOR_TRY(number(request.elementSize));
    KOR_TRY(number(request.type));
    KOR_TRY(number(request.isSingleGroup));
    KOR_TRY(number(request.isSingleElement));
    const std::size_t count =
        static_cast<std::size_t>(request.elementCount) * static_cast<std::size_t>(request.elementSize);
    if (request.type == CAudioParamType::real)
    {
        for (std::size_t i = 0; i < count; ++i)
            KOR_TRY(stream.writeDouble(request.values[i]));
        return {};
    }
    CMap<std::uint32_t, const CAudioParamDataItem*> used;
    for (std::size_t i = 0; i < count; ++i)
    {
        const int id = CAudioParamData::idOf(request.values[i]);
        KOR_TRY(number(id));
        if (const CAudioParamDataItem* item = request.items != nullptr ? request.items->find(id) : nullptr)
            used.emplace(static_cast<std::uint32_t>(id), item);
    }
    KOR_TRY(number(used.size()));
    for (const auto& [id, item] : used)
        KOR_TRY(writeDataItem(stream, id, *item));
    return {};
}

}
