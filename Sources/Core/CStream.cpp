// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CStream.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace kor
{

namespace
{

constexpr std::int64_t skipChunk = 32768;

template <class Unsigned>
CError readLittleEndian(CInputStream& stream, Unsigned& value)
{
    unsigned char bytes[sizeof(Unsigned)];
    KOR_TRY(stream.read(bytes, sizeof bytes));
    Unsigned result = 0;
    for (std::size_t i = sizeof bytes; i-- > 0;)
        result = static_cast<Unsigned>(result << 7 << 1 | bytes[i]);
    value = result;
    return {};
}

template <class Unsigned>
CError writeLittleEndian(COutputStream& stream, Unsigned value)
{
    unsigned char bytes[sizeof(Unsigned)];
    for (std::size_t i = 0; i < sizeof bytes; ++i)
        bytes[i] = static_cast<unsigned char>(value >> (8 * i));
    return stream.write(bytes, sizeof bytes);
}

CError narrowed(std::int64_t wide, std::int32_t& value)
{
    if (wide > std::numeric_limits<std::int32_t>::max())
        return KOR_FAIL("The size of the stream is above allowed 2 GB.");
    value = static_cast<std::int32_t>(wide);
    return {};
}

}

CError CPosStream::getPositionInt32(std::int32_t& position)
{
    std::int64_t wide = 0;
    KOR_TRY(getPosition(wide));
    return narrowed(wide, position);
}

CError CPosStream::getSizeInt(std::int32_t& size)
{
    std::int64_t wide = 0;
    KOR_TRY(getSize(wide));
    return narrowed(wide, size);
}

CError CInputStream::skip(std::int64_t count)
{
    if (count <= 0)
        return {};
    CByteArray discarded(static_cast<std::size_t>(std::min(count, skipChunk)));
    while (count > 0)
    {
        const std::int64_t step = std::min(count, skipChunk);
        KOR_TRY(read(discarded.data(), step));
        count -= step;
    }
    return {};
}

CError CInputStream::readU8(std::uint8_t& value)
{
    return readLittleEndian(*this, value);
}

CError CInputStream::readU16(std::uint16_t& value)
{
    return readLittleEndian(*this, value);
}

CError CInputStream::readU32(std::uint32_t& value)
{
    return readLittleEndian(*this, value);
}

CError CInputStream::readInt(std::int32_t& value)
{
    std::uint32_t bits = 0;
    KOR_TRY(readLittleEndian(*this, bits));
    value = static_cast<std::int32_t>(bits);
    return {};
}

CError CInputStream::readU64(std::uint64_t& value)
{
    return readLittleEndian(*this, value);
}

CError CInputStream::readDouble(double& value)
{
    std::uint64_t bits = 0;
    KOR_TRY(readLittleEndian(*this, bits));
    value = std::bit_cast<double>(bits);
    return {};
}

CError CInputStream::readString(CStringBuf& out)
{
    std::uint32_t count = 0;
    KOR_TRY(readU32(count));
    if (count > maxStringBytes)
        return KOR_FAIL("String length %1 too long in readString().", count);
    if (count == 0)
    {
        out.clear();
        return {};
    }
    CByteArray utf8(count);
    KOR_TRY(read(utf8.data(), count));
    out = CStringBuf::fromUtf8(std::string_view(reinterpret_cast<const char*>(utf8.data()), utf8.size()));
    return {};
}

CError COutputStream::writeU8(std::uint8_t value)
{
    return writeLittleEndian(*this, value);
}

CError COutputStream::writeU16(std::uint16_t value)
{
    return writeLittleEndian(*this, value);
}

CError COutputStream::writeU32(std::uint32_t value)
{
    return writeLittleEndian(*this, value);
}

CError COutputStream::writeInt(std::int32_t value)
{
    return writeLittleEndian(*this, static_cast<std::uint32_t>(value));
}

CError COutputStream::writeU64(std::uint64_t value)
{
    return writeLittleEndian(*this, value);
}

CError COutputStream::writeDouble(double value)
{
    return writeLittleEndian(*this, std::bit_cast<std::uint64_t>(value));
}

CError COutputStream::writeString(const CStringBuf& text)
{
    CStringBuf cut = text;
    cut.cutToUtf8Bytes(maxStringBytes);
    const std::string utf8 = cut.toUtf8();
    KOR_TRY(writeU32(static_cast<std::uint32_t>(utf8.size())));
    return utf8.empty() ? CError() : write(utf8.data(), static_cast<std::int64_t>(utf8.size()));
}

}
