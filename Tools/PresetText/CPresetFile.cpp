// SPDX-License-Identifier: GPL-3.0-or-later
#include "PresetText/CPresetFile.h"

#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"

namespace kor
{

namespace
{

constexpr std::uint32_t tags[] = {CAudioPreset::fileId, CAudioPresetBank::fileId, CAudioPresetBank::listId};

CError readKind(std::span<const unsigned char> file, CPresetFileKind& kind)
{
    CMemoryReader reader(file);
    std::uint32_t tag = 0;
    std::uint32_t size = 0;
    KOR_TRY(reader.readU32(tag));
    for (const CPresetFileKind known : {CPresetFileKind::preset, CPresetFileKind::bank, CPresetFileKind::list})
        if (tags[static_cast<int>(known)] == tag)
        {
            kind = known;
            KOR_TRY(reader.readU32(size));
            if (size > CPresetFile::largestBody)
                return KOR_FAIL("too large: %1 bytes of presets, at most %2", size, CPresetFile::largestBody);
            return {};
        }
    return KOR_FAIL("not a preset, a bank or a list (it begins with neither 'aprs', 'abnk' nor 'alst')");
}

}

CError CPresetFile::read(std::span<const unsigned char> file)
{
    CPresetFile found;
    KOR_TRY(readKind(file, found.kind));
    CMemoryReader reader(file);
    CByteArray body;
    KOR_TRY(reader.readCompressedData(body, tags[static_cast<int>(found.kind)]));
    KOR_TRY(found.readBody(body));
    *this = std::move(found);
    return {};
}

CError CPresetFile::readBody(std::span<const unsigned char> body)
{
    CMemoryReader reader(body);
    if (kind == CPresetFileKind::list)
        KOR_TRY(CAudioPresetBank::loadList(reader, banks));
    else if (kind == CPresetFileKind::bank)
        KOR_TRY(banks.emplace_back().load(reader));
    else
        KOR_TRY(banks.emplace_back().append().load(reader));
    if (reader.remaining() != 0)
        return KOR_FAIL("%1 bytes too many behind its end", reader.remaining());
    return {};
}

CError CPresetFile::writeBody(CByteArray& out) const
{
    CWriteSeqBuffer body(65536);
    if (kind == CPresetFileKind::list)
        KOR_TRY(CAudioPresetBank::saveList(body, banks));
    else if (kind == CPresetFileKind::bank)
        KOR_TRY(banks.front().save(body));
    else
        KOR_TRY(banks.front().preset(0).save(body));
    body.getContents(out);
    return {};
}

CError CPresetFile::write(CByteArray& out) const
{
    CByteArray body;
    KOR_TRY(writeBody(body));
    CWriteSeqBuffer file(65536);
    KOR_TRY(file.writeCompressedData(body.data(), static_cast<std::int64_t>(body.size()), tags[static_cast<int>(kind)]));
    file.getContents(out);
    return {};
}

}
