// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringBuf.h"

#include <cstdint>

namespace kor
{

/// Bytes of a block in memory that a reader filled.
using CByteArray = CArray<unsigned char>;

/// Four characters as the little-endian id of a data block: fourCC("alst").
constexpr std::uint32_t fourCC(const char (&id)[5]) noexcept
{
    std::uint32_t value = 0;
    for (int i = 3; i >= 0; --i)
        value = (value << 8) | static_cast<unsigned char>(id[i]);
    return value;
}

/// Longest text, in UTF-8 bytes, that readString accepts and writeString writes.
constexpr std::uint32_t maxStringBytes = 61440;

// A stream with a position. Streams belong to one thread at a time.
class CPosStream
{
public:
    virtual ~CPosStream() = default;
    virtual CError getPosition(std::int64_t& position) = 0;
    virtual CError setPosition(std::int64_t position) = 0;
    virtual CError getSize(std::int64_t& size) = 0;

    /// 32-bit forms; fail with "The size of the stream is above allowed 2 GB."
    CError getPositionInt32(std::int32_t& position);
    CError getSizeInt(std::int32_t& size);
};

// A source of bytes. `read` and everything built on it is all or failure; readRef alone may read short.
class CInputStream
{
public:
    virtual ~CInputStream() = default;

    /// Address of the unread data if the stream is memory with data left, else null.
    virtual const void* getDirectPointer() { return nullptr; }

    /// Reads and discards; 0 and negative counts do nothing.
    virtual CError skip(std::int64_t count);

    /// Reads exactly `count` bytes or fails.
    virtual CError read(void* buffer, std::int64_t count) = 0;

    /// Reads up to `count` bytes and sets it to what was read, 0 at the end of the stream.
    virtual CError readRef(void* buffer, std::int64_t& count) = 0;

    CError readU8(std::uint8_t& value);
    CError readU16(std::uint16_t& value);
    CError readU32(std::uint32_t& value);
    CError readInt(std::int32_t& value);
    CError readU64(std::uint64_t& value);
    CError readDouble(double& value);

    /// A u32 byte count and UTF-8; above 61,440 bytes: "String length %1 too long in readString()."
    CError readString(CStringBuf& out);

    /// The container of all persistent data: id, size, checksum of the size, one zlib stream. On failure `out` is
    /// untouched. Memory is taken as bytes arrive, never on the word of the size field alone.
    CError readCompressedData(CByteArray& out, std::uint32_t id);

    /// Bytes that such a container holds at most, read or written: hundreds of times the largest state there is, and what
    /// keeps a small file that inflates without end from taking a host's memory.
    static constexpr std::int64_t largestData = std::int64_t{64} << 20;
};

// A sink of bytes. `write` is all or failure.
class COutputStream
{
public:
    virtual ~COutputStream() = default;
    virtual CError write(const void* buffer, std::int64_t count) = 0;

    CError writeU8(std::uint8_t value);
    CError writeU16(std::uint16_t value);
    CError writeU32(std::uint32_t value);
    CError writeInt(std::int32_t value);
    CError writeU64(std::uint64_t value);
    CError writeDouble(double value);

    /// Cut at a character boundary to 61,440 bytes of UTF-8.
    CError writeString(const CStringBuf& text);
    CError writeCompressedData(const void* data, std::int64_t size, std::uint32_t id);
};

class CPosInputStream : public CInputStream, public CPosStream
{
};

class CPosOutputStream : public COutputStream, public CPosStream
{
};

}
