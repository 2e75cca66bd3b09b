// SPDX-License-Identifier: GPL-3.0-or-later
#include "PresetText/CPresetBlock.h"

#include "Audio/Parameters/CAudioParamDataItemRaw.h"
#include "Audio/Parameters/CAudioParamInfo.h"
#include "Audio/Parameters/CAudioParamStorage.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"

#include <algorithm>

namespace kor
{

namespace
{
constexpr std::uint32_t version = 1;
}

CError CPresetBlock::readItems(CInputStream& stream)
{
    std::uint32_t count = 0;
    KOR_TRY(stream.readU32(count));
    for (std::uint32_t i = 0; i < count; ++i)
    {
        CItem item;
        std::uint32_t typeCode = 0;
        KOR_TRY(stream.readU32(item.id));
        KOR_TRY(stream.readU32(typeCode));
        item.type = static_cast<CAudioParamType>(typeCode);
        if (item.type == CAudioParamType::string)
            KOR_TRY(stream.readString(item.text));
        else if (item.type == CAudioParamType::raw)
        {
            CAudioParamDataItemRaw raw;
            KOR_TRY(raw.load(stream));
            item.bytes.assign(raw.bytes().begin(), raw.bytes().end());
        }
        else
            return KOR_FAIL("Unknown data type %1 encountered", typeCode);
        items.push_back(std::move(item));
    }
    return {};
}

CError CPresetBlock::readGroup(CInputStream& stream)
{
    std::uint32_t count = 0;
    KOR_TRY(stream.readU32(count));
    if (count > static_cast<std::uint32_t>(CAudioParamStorage::maxElements))
        return KOR_FAIL("Too many elements %1 in a group.", count);
    CGroup& group = groups.emplace_back();
    for (std::uint32_t i = 0; i < count * static_cast<std::uint32_t>(elementSize); ++i)
    {
        double value = 0.0;
        std::uint32_t id = 0;
        if (type == CAudioParamType::real)
            KOR_TRY(stream.readDouble(value));
        else
        {
            KOR_TRY(stream.readU32(id));
            value = id;
        }
        group.push_back(value);
    }
    return {};
}

CError CPresetBlock::readParts(CInputStream& stream)
{
    std::uint32_t found = 0;
    std::uint32_t size = 0;
    std::uint32_t typeCode = 0;
    std::uint32_t groupCount = 0;
    KOR_TRY(stream.readString(path));
    KOR_TRY(stream.readU32(found));
    KOR_TRY(stream.readU32(size));
    KOR_TRY(stream.readU32(typeCode));
    KOR_TRY(stream.readU32(groupCount));
    const bool isReal = typeCode == static_cast<std::uint32_t>(CAudioParamType::real);
    const std::uint32_t mostNumbers = isReal ? CAudioParamInfo::maxElementSize : 1;
    if (found != version || typeCode > static_cast<std::uint32_t>(CAudioParamType::raw) || size == 0 ||
        size > mostNumbers || groupCount > static_cast<std::uint32_t>(CAudioParamStorage::maxGroups))
        return KOR_FAIL("Not a block of this program.");
    elementSize = static_cast<int>(size);
    type = static_cast<CAudioParamType>(typeCode);
    if (!isReal)
        KOR_TRY(readItems(stream));
    for (std::uint32_t g = 0; g < groupCount; ++g)
        KOR_TRY(readGroup(stream));
    return {};
}

bool CPresetBlock::read(std::span<const unsigned char> bytes)
{
    *this = {};
    CMemoryReader reader(bytes);
    CByteArray again;
    if (readParts(reader) || write(again))
        return false;
    return std::equal(bytes.begin(), bytes.end(), again.begin(), again.end());
}

CError CPresetBlock::write(COutputStream& stream) const
{
    KOR_TRY(stream.writeString(path));
    KOR_TRY(stream.writeU32(version));
    KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(elementSize)));
    KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(type)));
    KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(groups.size())));
    const bool isReal = type == CAudioParamType::real;
    if (!isReal)
        KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(items.size())));
    for (const CItem& item : items)
    {
        KOR_TRY(stream.writeU32(item.id));
        KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(item.type)));
        if (item.type == CAudioParamType::string)
            KOR_TRY(stream.writeString(item.text));
        else
            KOR_TRY(CAudioParamDataItemRaw(item.bytes).save(stream));
    }
    for (const CGroup& group : groups)
    {
        KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(group.size()) / static_cast<std::uint32_t>(elementSize)));
        for (const double value : group)
            KOR_TRY(isReal ? stream.writeDouble(value) : stream.writeU32(static_cast<std::uint32_t>(value)));
    }
    return {};
}

CError CPresetBlock::write(CByteArray& out) const
{
    CWriteSeqBuffer buffer;
    KOR_TRY(write(buffer));
    buffer.getContents(out);
    return {};
}

bool CPresetBlock::hasPlainItems() const noexcept
{
    std::size_t next = 0;
    for (const CGroup& group : groups)
        for (const double id : group)
        {
            if (next == items.size() || id != static_cast<double>(next + 1) || items[next].id != next + 1 ||
                items[next].type != type)
                return false;
            ++next;
        }
    return next == items.size();
}

}
