// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioPreset.h"

#include "Core/CMemoryReader.h"
#include "Core/CResourceReader.h"

#include <algorithm>
#include <limits>

namespace kor
{

namespace
{

// A false length costs no more than one step beyond what really comes.
CError readBlock(CInputStream& stream, CByteArray& out)
{
    std::uint32_t length = 0;
    KOR_TRY(stream.readU32(length));
    constexpr std::size_t step = 65536;
    CByteArray block;
    while (block.size() < length)
    {
        const std::size_t have = block.size();
        const std::size_t part = std::min<std::size_t>(step, length - have);
        block.resize(have + part);
        KOR_TRY(stream.read(block.data() + have, static_cast<std::int64_t>(part)));
    }
    out = std::move(block);
    return {};
}

}

CDataFormat CAudioPreset::format() noexcept
{
    return {fileId, [](const CByteArray& contents)
    {
        CMemoryReader reader(contents);
        return CAudioPreset().load(reader);
    }};
}

void CAudioPreset::clear()
{
    fullName.clear();
    blocks.clear();
}

CStringBuf CAudioPreset::idOf(const CStringBuf& presetName)
{
    return presetName.substr(0, std::max(presetName.findChar(u':'), 0));
}

CStringBuf CAudioPreset::titleOf(const CStringBuf& presetName)
{
    return presetName.substr(presetName.findChar(u':') + 1);
}

CError CAudioPreset::save(COutputStream& stream) const
{
    KOR_TRY(stream.writeString(fullName));
    KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(blocks.size())));
    for (const auto& [key, block] : blocks)
    {
        if (block.size() > std::numeric_limits<std::uint32_t>::max())
            return KOR_FAIL("The value of '%1' is too large for a preset (%2 bytes).", key, block.size());
        KOR_TRY(stream.writeString(key));
        KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(block.size())));
        if (!block.empty())
            KOR_TRY(stream.write(block.data(), static_cast<std::int64_t>(block.size())));
    }
    return {};
}

CError CAudioPreset::load(CInputStream& stream)
{
    CAudioPreset loaded;
    std::uint32_t count = 0;
    KOR_TRY(stream.readString(loaded.fullName));
    KOR_TRY(stream.readU32(count));
    for (std::uint32_t i = 0; i < count; ++i)
    {
        CStringBuf key;
        KOR_TRY(stream.readString(key));
        KOR_TRY(readBlock(stream, loaded.blocks[key]));
    }
    *this = std::move(loaded);
    return {};
}

CError CAudioPreset::loadFile(const CStringBuf& path)
{
    CByteArray body;
    KOR_TRY(CResourceReader::readBlock(path, fileId, body));
    CMemoryReader reader(body);
    return load(reader);
}

}
