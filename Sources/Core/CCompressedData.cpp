// SPDX-License-Identifier: GPL-3.0-or-later
// The container of all persistent data: id, size, checksum of the size, one zlib stream.
#include "Core/CInputZipStream.h"
#include "Core/COutputZipStream.h"
#include "Core/CStream.h"

#include <algorithm>
#include <zlib.h>

namespace kor
{

namespace
{

constexpr std::size_t firstRoom = 65536;
constexpr std::size_t worthAsking = std::size_t{16} << 20;

std::uint32_t checksumOf(std::uint32_t size) noexcept
{
    const unsigned char bytes[4] = {static_cast<unsigned char>(size), static_cast<unsigned char>(size >> 8),
                                    static_cast<unsigned char>(size >> 16), static_cast<unsigned char>(size >> 24)};
    return static_cast<std::uint32_t>(adler32(adler32(0, nullptr, 0), bytes, sizeof bytes));
}

// The size comes from a file: rather a failure than the end of the host's process.
bool isAvailable(std::size_t bytes) noexcept
{
    if (bytes < worthAsking)
        return true;
    void* block = allocBlock(bytes);
    if (block == nullptr)
        return false;
    freeBlock(block);
    return true;
}

// Room doubles as data arrives, so that a false size field costs no more than the data that really comes. The bound:
// deflate makes at most 1032 bytes of one, and while room grows the old and the new, twice as large, are there together,
// so a block of n bytes costs at most 3 x 1032 x n bytes, or 64 KB, and never more than three times largestData.
CError inflateAll(CInputZipStream& zip, CByteArray& data, std::size_t size)
{
    while (data.size() < size)
    {
        const std::size_t have = data.size();
        const std::size_t room = std::min(size, std::max(firstRoom, have * 2));
        if (!isAvailable(room))
            return KOR_FAIL("Not enough memory for compressed data of %1 bytes.", size);
        data.reserve(room);
        data.resize(room);
        KOR_TRY(zip.read(data.data() + have, static_cast<std::int64_t>(room - have)));
    }
    // Reading on runs the stream to its own end, where its checksum is compared.
    unsigned char surplus;
    std::int64_t more = 1;
    KOR_TRY(zip.readRef(&surplus, more));
    if (more != 0)
        return KOR_FAIL("Compressed data is longer than its size field says (%1 bytes).", size);
    return zip.close();
}

}

CError CInputStream::readCompressedData(CByteArray& out, std::uint32_t id)
{
    std::uint32_t foundId = 0;
    KOR_TRY(readU32(foundId));
    if (foundId != id)
        return KOR_FAIL("Invalid ID encountered when reading compressed data (expected %1, read %2).", id, foundId);
    std::uint32_t size = 0;
    std::uint32_t foundChecksum = 0;
    KOR_TRY(readU32(size));
    KOR_TRY(readU32(foundChecksum));
    const std::uint32_t checksum = checksumOf(size);
    if (foundChecksum != checksum)
        return KOR_FAIL("Invalid CRC encountered when reading compressed data (expected %1, read %2).", checksum,
                        foundChecksum);
    if (size > largestData)
        return KOR_FAIL("Compressed data cannot have a size of %1 bytes.", size);
    CInputZipStream zip;
    KOR_TRY(zip.open(this));
    CByteArray data;
    KOR_TRY(inflateAll(zip, data, size));
    out = std::move(data);
    return {};
}

CError COutputStream::writeCompressedData(const void* data, std::int64_t size, std::uint32_t id)
{
    if (size < 0 || size > CInputStream::largestData)
        return KOR_FAIL("Compressed data cannot have a size of %1 bytes.", static_cast<long long>(size));
    const auto size32 = static_cast<std::uint32_t>(size);
    KOR_TRY(writeU32(id));
    KOR_TRY(writeU32(size32));
    KOR_TRY(writeU32(checksumOf(size32)));
    COutputZipStream zip;
    KOR_TRY(zip.open(this));
    KOR_TRY(zip.write(data, size));
    return zip.close();
}

}
