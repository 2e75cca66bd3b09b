// SPDX-License-Identifier: GPL-3.0-or-later
// The stored form of a parameter's values, the innermost block of every preset. What is read may come from any file or
// host: counts are believed only as far as bytes arrive, and nothing of the storage changes before all is read.
#include "Audio/Parameters/CAudioParamStorage.h"

#include "Audio/Parameters/CAudioParamDataFormat.h"

#include <algorithm>

namespace kor
{

namespace
{

constexpr std::uint32_t version = 1;

CError readElement(CInputStream& stream, double& value, bool isItem, const CAudioParamDataIds& ids)
{
    if (!isItem)
        return stream.readDouble(value);
    std::uint32_t id = 0;
    KOR_TRY(stream.readU32(id));
    const auto known = ids.find(id);
    value = known != ids.end() ? known->second : 0.0;
    return {};
}

}

CError CAudioParamStorage::saveItems(COutputStream& stream, int firstGroup, int endGroup) const
{
    // Numbered as the elements come to them, not by their ids, which depend on what the parameter held before: equal
    // values give equal bytes. An element without an item is written as an empty one, so that every id in a list is in
    // the table.
    CMap<const CAudioParamDataItem*, std::uint32_t> numbers;
    CArray<const CAudioParamDataItem*> table;
    const auto itemOf = [&](double value) { return items.find(CAudioParamData::idOf(value)); };
    for (int g = firstGroup; g < endGroup; ++g)
        for (const double value : values(g))
            if (numbers.emplace(itemOf(value), static_cast<std::uint32_t>(table.size()) + 1).second)
                table.push_back(itemOf(value));
    KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(table.size())));
    for (const CAudioParamDataItem* item : table)
    {
        KOR_TRY(stream.writeU32(numbers.find(item)->second));
        KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(valueType)));
        if (item != nullptr)
            KOR_TRY(item->save(stream));
        else
            KOR_TRY(stream.writeU32(0));
    }
    for (int g = firstGroup; g < endGroup; ++g)
    {
        KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(elementCount(g))));
        for (const double value : values(g))
            KOR_TRY(stream.writeU32(numbers.find(itemOf(value))->second));
    }
    return {};
}

CError CAudioParamStorage::save(COutputStream& stream, int group) const
{
    if (isSingleGroup)
        group = 0;
    const int first = group < 0 ? 0 : group;
    const int end = group < 0 ? groups : group + 1;
    KOR_TRY(stream.writeU32(version));
    KOR_TRY(stream.writeU32(size));
    KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(valueType)));
    KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(end - first)));
    if (valueType != CAudioParamType::real)
        return saveItems(stream, first, end);
    for (int g = first; g < end; ++g)
    {
        KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(elementCount(g))));
        for (const double value : values(g))
            KOR_TRY(stream.writeDouble(value));
    }
    return {};
}

CError CAudioParamStorage::load(CInputStream& stream)
{
    std::uint32_t found = 0;
    std::uint32_t foundSize = 0;
    std::uint32_t foundType = 0;
    std::uint32_t groupsThere = 0;
    KOR_TRY(stream.readU32(found));
    if (found != version)
        return KOR_FAIL("Unsupported data set version %1.", found);
    KOR_TRY(stream.readU32(foundSize));
    KOR_TRY(stream.readU32(foundType));
    if (foundSize != size || foundType != static_cast<std::uint32_t>(valueType))
        return KOR_FAIL("Unsupported storage format (esize=%1, dtype=%2; should be: esize=%3, dtype=%4).", foundSize,
                        foundType, size, static_cast<std::uint32_t>(valueType));
    KOR_TRY(stream.readU32(groupsThere));

    const bool isItem = valueType != CAudioParamType::real;
    CAudioParamData table;
    CAudioParamDataIds ids;
    if (isItem)
        KOR_TRY(readDataItems(stream, table, ids));
    CArray<CArray<double>> lists(static_cast<std::size_t>(groups));
    for (std::uint32_t g = 0; g < groupsThere; ++g)
    {
        std::uint32_t count = 0;
        KOR_TRY(stream.readU32(count));
        if (count > static_cast<std::uint32_t>(maxElements))
            return KOR_FAIL("Too many elements %1 in a group (at most %2).", count, maxElements);
        const bool isWanted = g < lists.size();
        const std::size_t most = isSingleElement ? size : static_cast<std::size_t>(count) * size;
        for (std::size_t i = 0; i < static_cast<std::size_t>(count) * size; ++i)
        {
            double value = 0.0;
            KOR_TRY(readElement(stream, value, isItem, ids));
            if (isWanted && i < most)
                lists[g].push_back(value);
        }
    }

    CAudioParamRequest request;
    request.cut = true;
    request.elementSize = static_cast<int>(size);
    request.type = valueType;
    request.items = &table;
    for (int g = 0; g < groups; ++g)
    {
        const CArray<double>& list = lists[static_cast<std::size_t>(g)];
        request.elementCount = static_cast<int>(list.size() / size);
        request.values = list.data();
        applyToGroup(g, 0, request.elementCount, request);
    }
    return {};
}

}
