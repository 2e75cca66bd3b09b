// SPDX-License-Identifier: GPL-3.0-or-later
// The stored form of a definition, by which a window shows and converts a parameter without holding its definition.
#include "Audio/Parameters/CAudioParamInfo.h"

#include "Audio/Parameters/CAudioParamStorage.h"
#include "Core/CObject.h"

namespace kor
{

namespace
{

constexpr std::uint32_t version = 1;

enum Flag : std::uint32_t
{
    global = 1,
    storable = 2,
    persistent = 4,
    singleGroup = 8,
    singleElement = 16
};

std::uint32_t flagsOf(const CAudioParamInfo& info) noexcept
{
    return (info.isGlobal ? global : 0u) | (info.isStorable ? storable : 0u) | (info.isPersistent ? persistent : 0u) |
           (info.isSingleGroup ? singleGroup : 0u) | (info.isSingleElement ? singleElement : 0u);
}

CError saveDefaults(const CAudioParamInfo& info, COutputStream& stream)
{
    KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(info.defaultValues.size())));
    for (std::size_t g = 0; g < info.defaultValues.size(); ++g)
    {
        const CArray<double>& list = info.defaultValues[g];
        KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(list.size())));
        for (std::size_t i = 0; i < list.size(); ++i)
        {
            if (info.type == CAudioParamType::real)
                KOR_TRY(stream.writeDouble(list[i]));
            else if (info.type == CAudioParamType::string)
                KOR_TRY(stream.writeString(info.defaultTexts[g][i]));
        }
    }
    return {};
}

CError loadDefaults(CAudioParamInfo& info, CInputStream& stream)
{
    std::uint32_t lists = 0;
    KOR_TRY(stream.readU32(lists));
    if (lists == 0 || lists > CAudioParamStorage::maxGroups)
        return KOR_FAIL("Invalid count of default lists %1.", lists);
    for (std::uint32_t g = 0; g < lists; ++g)
    {
        std::uint32_t count = 0;
        KOR_TRY(stream.readU32(count));
        const std::uint32_t limit = CAudioParamStorage::maxElements * static_cast<std::uint32_t>(info.elementSize);
        if (count > limit || count % static_cast<std::uint32_t>(info.elementSize) != 0)
            return KOR_FAIL("Invalid count of default values %1.", count);
        CArray<double>& list = info.defaultValues.emplace_back();
        CArray<CStringBuf>* texts =
            info.type == CAudioParamType::string ? &info.defaultTexts.emplace_back() : nullptr;
        for (std::uint32_t i = 0; i < count; ++i)
        {
            double value = 0.0;
            if (info.type == CAudioParamType::real)
                KOR_TRY(stream.readDouble(value));
            const int component = static_cast<int>(i % static_cast<std::uint32_t>(info.elementSize));
            list.push_back(info.type == CAudioParamType::real ? info.clamp(component, value) : 0.0);
            if (texts != nullptr)
                KOR_TRY(stream.readString(texts->emplace_back()));
        }
    }
    return {};
}

}

CError CAudioParamInfo::save(COutputStream& stream) const
{
    KOR_TRY(stream.writeU32(version));
    KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(elementSize)));
    KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(type)));
    KOR_TRY(stream.writeU32(flagsOf(*this)));
    KOR_TRY(stream.writeString(visualName));
    KOR_TRY(stream.writeString(paramRegistry));
    for (int i = 0; i < elementSize; ++i)
    {
        const std::size_t component = static_cast<std::size_t>(i);
        KOR_TRY(stream.writeString(component < converterNames.size() ? converterNames[component] : gEmptyString));
        KOR_TRY(stream.writeDouble(minValue(i)));
        KOR_TRY(stream.writeDouble(maxValue(i)));
    }
    KOR_TRY(stream.writeString(stateNamesText));
    KOR_TRY(saveDefaults(*this, stream));
    return {};
}

CError CAudioParamInfo::load(CInputStream& stream, CObject& context)
{
    std::uint32_t found = 0;
    KOR_TRY(stream.readU32(found));
    if (found != version)
        return KOR_FAIL("Unsupported data set version %1.", found);
    std::uint32_t size = 0;
    std::uint32_t typeCode = 0;
    std::uint32_t flags = 0;
    KOR_TRY(stream.readU32(size));
    KOR_TRY(stream.readU32(typeCode));
    KOR_TRY(stream.readU32(flags));
    if (size == 0 || size > maxElementSize)
        return KOR_FAIL("Invalid element size %1 specified.", size);
    if (typeCode > static_cast<std::uint32_t>(CAudioParamType::raw))
        return KOR_FAIL("Unknown data type %1 encountered", typeCode);
    if (typeCode != 0 && size > 1)
        return KOR_FAIL("Invalid element size %1 for non-float data specified.", size);

    CAudioParamInfo loaded;
    loaded.elementSize = static_cast<int>(size);
    loaded.type = static_cast<CAudioParamType>(typeCode);
    loaded.isGlobal = (flags & global) != 0;
    loaded.isStorable = (flags & storable) != 0;
    loaded.isPersistent = (flags & persistent) != 0;
    loaded.isSingleGroup = (flags & singleGroup) != 0;
    loaded.isSingleElement = (flags & singleElement) != 0;
    KOR_TRY(stream.readString(loaded.visualName));
    KOR_TRY(stream.readString(loaded.paramRegistry));
    for (std::uint32_t i = 0; i < size; ++i)
    {
        KOR_TRY(stream.readString(loaded.converterNames.emplace_back()));
        KOR_TRY(stream.readDouble(loaded.minValues.emplace_back()));
        KOR_TRY(stream.readDouble(loaded.maxValues.emplace_back()));
        if (!(loaded.minValues[i] < loaded.maxValues[i] || loaded.minValues[i] > loaded.maxValues[i]))
            return KOR_FAIL("Zero default min-max values difference detected in element %1.", i);
    }
    CStringBuf states;
    KOR_TRY(stream.readString(states));
    if (loaded.converterNames[0].isEmpty())         // of a parameter that has no definition yet
    {
        std::uint32_t lists = 0;
        KOR_TRY(stream.readU32(lists));
        if (lists != 0)
            return KOR_FAIL("Audio parameter converter '%1' not found.", loaded.converterNames[0]);
        *this = {};
        return {};
    }
    KOR_TRY(loaded.parseConverterNames(context));
    KOR_TRY(loaded.parseStateNames(states));
    KOR_TRY(loadDefaults(loaded, stream));
    *this = std::move(loaded);
    return {};
}

}
