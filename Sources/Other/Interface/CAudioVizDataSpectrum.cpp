// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CAudioVizDataSpectrum.h"

#include <algorithm>
#include <array>
#include <bit>

namespace kor
{

namespace
{

constexpr std::size_t chunkValues = 512;
using CChunk = std::array<unsigned char, chunkValues * sizeof(double)>;

void putDouble(unsigned char* to, double value) noexcept
{
    const auto bits = std::bit_cast<std::uint64_t>(value);
    for (unsigned i = 0; i < sizeof bits; ++i)
        to[i] = static_cast<unsigned char>(bits >> (8 * i));
}

double getDouble(const unsigned char* from) noexcept
{
    std::uint64_t bits = 0;
    for (unsigned i = 0; i < sizeof bits; ++i)
        bits |= static_cast<std::uint64_t>(from[i]) << (8 * i);
    return std::bit_cast<double>(bits);
}

}

CError CAudioVizDataSpectrum::write(COutputStream& stream) const
{
    KOR_TRY(CAudioVizData::write(stream));
    KOR_TRY(stream.writeInt(static_cast<std::int32_t>(values.size())));
    CChunk chunk;
    for (std::size_t done = 0; done < values.size();)
    {
        const std::size_t count = std::min(values.size() - done, chunkValues);
        for (std::size_t i = 0; i < count; ++i)
            putDouble(chunk.data() + i * sizeof(double), values[done + i]);
        KOR_TRY(stream.write(chunk.data(), static_cast<std::int64_t>(count * sizeof(double))));
        done += count;
    }
    KOR_TRY(stream.writeDouble(sampleRate));
    KOR_TRY(stream.writeInt(blockSize));
    KOR_TRY(stream.writeInt(type));
    return stream.writeDouble(averageTime);
}

CError CAudioVizDataSpectrum::read(CInputStream& stream)
{
    KOR_TRY(CAudioVizData::read(stream));
    std::int32_t valueCount = 0;
    KOR_TRY(stream.readInt(valueCount));
    if (valueCount < 0)
        return KOR_FAIL("Invalid value count %1 of a spectrum.", valueCount);
    values.clear();
    CChunk chunk;
    for (std::size_t left = static_cast<std::size_t>(valueCount); left > 0;)
    {
        const std::size_t count = std::min(left, chunkValues);
        KOR_TRY(stream.read(chunk.data(), static_cast<std::int64_t>(count * sizeof(double))));
        for (std::size_t i = 0; i < count; ++i)
            values.push_back(getDouble(chunk.data() + i * sizeof(double)));
        left -= count;
    }
    KOR_TRY(stream.readDouble(sampleRate));
    KOR_TRY(stream.readInt(blockSize));
    KOR_TRY(stream.readInt(type));
    return stream.readDouble(averageTime);
}

}
