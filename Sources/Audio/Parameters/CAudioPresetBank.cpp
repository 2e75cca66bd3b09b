// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioPresetBank.h"

#include "Core/CMemoryReader.h"
#include "Core/CResourceReader.h"

namespace kor
{

CDataFormat CAudioPresetBank::listFormat() noexcept
{
    return {listId, [](const CByteArray& contents)
    {
        CMemoryReader reader(contents);
        CArray<CAudioPresetBank> banks;
        return loadList(reader, banks);
    }};
}

CAudioPresetBank::CAudioPresetBank(const CAudioPresetBank& other) : name(other.name)
{
    presets.reserve(other.presets.size());
    for (const auto& preset : other.presets)
        presets.push_back(std::make_unique<CAudioPreset>(*preset));
}

CAudioPresetBank& CAudioPresetBank::operator=(const CAudioPresetBank& other)
{
    if (this != &other)
        *this = CAudioPresetBank(other);
    return *this;
}

CAudioPreset& CAudioPresetBank::append()
{
    return *presets.emplace_back(std::make_unique<CAudioPreset>());
}

void CAudioPresetBank::clear()
{
    name.clear();
    presets.clear();
}

CError CAudioPresetBank::save(COutputStream& stream) const
{
    KOR_TRY(stream.writeString(name));
    KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(presets.size())));
    for (const auto& preset : presets)
        KOR_TRY(preset->save(stream));
    return {};
}

CError CAudioPresetBank::load(CInputStream& stream)
{
    CAudioPresetBank loaded;
    std::uint32_t count = 0;
    KOR_TRY(stream.readString(loaded.name));
    KOR_TRY(stream.readU32(count));
    for (std::uint32_t i = 0; i < count; ++i)
        KOR_TRY(loaded.append().load(stream));
    *this = std::move(loaded);
    return {};
}

CError CAudioPresetBank::loadFile(const CStringBuf& path)
{
    clear();
    CByteArray body;
    KOR_TRY(CResourceReader::readBlock(path, fileId, body));
    CMemoryReader reader(body);
    return load(reader);
}

CError CAudioPresetBank::saveList(COutputStream& stream, const CArray<CAudioPresetBank>& banks)
{
    KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(banks.size())));
    for (const CAudioPresetBank& bank : banks)
        KOR_TRY(bank.save(stream));
    return {};
}

CError CAudioPresetBank::loadList(CInputStream& stream, CArray<CAudioPresetBank>& banks)
{
    CArray<CAudioPresetBank> loaded;
    std::uint32_t count = 0;
    KOR_TRY(stream.readU32(count));
    for (std::uint32_t i = 0; i < count; ++i)
        KOR_TRY(loaded.emplace_back().load(stream));
    banks.swap(loaded);
    return {};
}

}
