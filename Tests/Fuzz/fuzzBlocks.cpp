// SPDX-License-Identifier: GPL-3.0-or-later
// Compressed data blocks, and the streams and texts below them.
#include "Core/CInputZipStream.h"
#include "Core/CMemoryReader.h"
#include "Core/CTextReaderLine.h"
#include "Core/CWriteSeqBuffer.h"
#include "Fuzz/FuzzTargets.h"
#include "PresetText/CPresetFile.h"

#include <zlib.h>

namespace kor::test
{
namespace
{

constexpr std::uint32_t id = CAudioPresetBank::listId;

// Chance does not find the checksum that lets a changed size field through.
CByteArray withChecksumOfSize(const unsigned char* data, std::size_t size)
{
    CByteArray bytes(data, data + size);
    if (size < 12)
        return bytes;
    const std::uint32_t header[] = {id, 0, static_cast<std::uint32_t>(adler32(1, data + 4, 4))};
    for (const std::size_t field : {0, 2})
        for (std::size_t i = 0; i < 4; ++i)
            bytes[4 * field + i] = static_cast<unsigned char>(header[field] >> (8 * i));
    return bytes;
}

bool readBlock(const CByteArray& bytes)
{
    CMemoryReader reader(bytes);
    CByteArray out;
    if (CError failure = reader.readCompressedData(out, id))
    {
        require(out.empty(), "a failure leaves the output alone");
        return false;
    }
    // Deflate expands no byte to more than 1032.
    require(out.size() <= 1032 * bytes.size(), "the data came from the bytes");
    CWriteSeqBuffer again;
    require(!again.writeCompressedData(out.data(), static_cast<std::int64_t>(out.size()), id), "it can be written");
    const CByteArray rewritten = again.getContents();
    CMemoryReader second(rewritten);
    CByteArray back;
    require(!second.readCompressedData(back, id) && back == out, "written data reads back the same");
    return true;
}

}

int fuzzBlock(const unsigned char* data, std::size_t size)
{
    const CByteArray raw(data, data + size);
    const CByteArray bytes = withChecksumOfSize(data, size);
    const bool isRead = readBlock(bytes);
    CPresetFile file;
    file.read(raw).ignore();
    CMemoryReader reader(raw);
    CStringBuf text;
    if (!reader.readString(text))
    {
        require(text.length() <= 61440, "a text is no longer than allowed");
        require(CStringBuf::fromUtf8(text.toUtf8()) == text, "a text survives its own encoding");
    }
    CInputZipStream zip;
    CMemoryReader source(raw.data() + std::min<std::size_t>(12, size), size - std::min<std::size_t>(12, size));
    require(!zip.open(&source), "the stream opens");
    unsigned char part[97];
    std::int64_t count = sizeof part;
    for (int parts = 0; parts < 1000 && !zip.readRef(part, count) && count > 0; ++parts)
        count = sizeof part;
    for (int e = 0; e < 4; ++e)
    {
        CTextReaderLine lines(raw.data(), raw.size(), static_cast<CTextReaderLine::Encoding>(e));
        std::size_t most = raw.size() + 1;
        while (lines.readLine(text))
            require(most-- > 0, "each line takes at least a byte");
    }
    return isRead;
}

std::vector<std::string> blockSeeds()
{
    std::vector<std::string> seeds;
    std::vector<std::string> bodies = listSeeds();
    bodies.push_back("");
    bodies.push_back(std::string(300000, 'x'));                     // far more than its block
    for (const std::string& body : bodies)
    {
        CWriteSeqBuffer buffer;
        require(!buffer.writeCompressedData(body.data(), static_cast<std::int64_t>(body.size()), id), "a seed is written");
        const CByteArray bytes = buffer.getContents();
        seeds.emplace_back(bytes.begin(), bytes.end());
    }
    return seeds;
}

}
