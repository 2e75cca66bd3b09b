// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CInputZipStream.h"
#include "Core/CMemoryReader.h"
#include "Core/COutputZipStream.h"
#include "Core/CWriteSeqBuffer.h"

#include <gtest/gtest.h>

#include <random>
#include <sys/resource.h>
#include <zlib.h>

namespace kor
{

namespace
{

constexpr std::uint32_t id = 0x74736C61;                    // "alst"

CByteArray noise(std::size_t size, unsigned kinds)
{
    std::minstd_rand random(static_cast<unsigned>(size) + 1);
    CByteArray data(size);
    for (unsigned char& byte : data)
        byte = static_cast<unsigned char>(random() >> 8) % kinds;
    return data;
}

void appendU32(CByteArray& bytes, std::uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
}

// Adler-32 by its definition.
std::uint32_t sumOf(const CByteArray& bytes)
{
    std::uint32_t a = 1;
    std::uint32_t b = 0;
    for (const unsigned char byte : bytes)
    {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    return b << 16 | a;
}

std::uint32_t adlerOf(std::uint32_t value)
{
    CByteArray bytes;
    appendU32(bytes, value);
    return sumOf(bytes);
}

// A block made by hand around zlib's own one-call compressor.
CByteArray blockOf(const CByteArray& data, std::uint32_t announced)
{
    uLongf size = compressBound(data.size());
    CByteArray packed(size);
    compress(packed.data(), &size, data.data(), data.size());
    CByteArray block;
    appendU32(block, id);
    appendU32(block, announced);
    appendU32(block, adlerOf(announced));
    block.insert(block.end(), packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(size));
    return block;
}

CByteArray written(const CByteArray& data)
{
    CWriteSeqBuffer buffer;
    EXPECT_FALSE(buffer.writeCompressedData(data.data(), static_cast<std::int64_t>(data.size()), id));
    return buffer.getContents();
}

std::string messageOf(const CByteArray& block, CByteArray& out)
{
    CMemoryReader reader(block);
    return reader.readCompressedData(out, id).message();
}

// Delivers a few bytes at a time and fails where it is told to.
class CDripping : public CInputStream
{
public:
    CDripping(const CByteArray& block, std::int64_t failAfter) : inner(block), left(failAfter) {}
    CError read(void* buffer, std::int64_t count) override
    {
        KOR_TRY(inner.read(buffer, count));
        return {};
    }
    CError readRef(void* buffer, std::int64_t& count) override
    {
        count = std::min<std::int64_t>(count, 3);
        left -= count;
        if (left < 0)
            return KOR_FAIL("dry");
        KOR_TRY(inner.readRef(buffer, count));
        return {};
    }

private:
    CMemoryReader inner;
    std::int64_t left;
};

class CFull : public COutputStream
{
public:
    explicit CFull(std::int64_t bytes) : room(bytes) {}
    CError write(const void*, std::int64_t count) override
    {
        room -= count;
        if (room < 0)
            return KOR_FAIL("full");
        return {};
    }

private:
    std::int64_t room;
};

}

TEST(CompressedData, BothDirectionsAgreeWithZlib)
{
    for (const std::size_t size : {0u, 1u, 5u, 32767u, 32768u, 65536u, 65537u, 131072u, 1000003u})
        for (const unsigned kinds : {1u, 250u})
        {
            const CByteArray data = noise(size, kinds);
            const CByteArray block = written(data);
            CByteArray out{9, 9};
            EXPECT_EQ(messageOf(blockOf(data, static_cast<std::uint32_t>(size)), out), "") << size;
            EXPECT_EQ(out, data) << size;

            // Header by hand, body by zlib's one-call decompressor.
            CByteArray header;
            appendU32(header, id);
            appendU32(header, static_cast<std::uint32_t>(size));
            appendU32(header, adlerOf(static_cast<std::uint32_t>(size)));
            ASSERT_GT(block.size(), 12u);
            EXPECT_TRUE(std::equal(header.begin(), header.end(), block.begin())) << size;
            CByteArray plain(size + 1);
            uLongf got = plain.size();
            EXPECT_EQ(uncompress(plain.data(), &got, block.data() + 12, block.size() - 12), Z_OK);
            plain.resize(got);
            EXPECT_EQ(plain, data) << size;

            CDripping slow(block, 1 << 30);
            CByteArray again;
            EXPECT_EQ(slow.readCompressedData(again, id).message(), "");
            EXPECT_EQ(again, data);
        }
}

TEST(CompressedData, ZipStreamsTakeDataInAnyPieces)
{
    const CByteArray data = noise(500000, 250);             // does not shrink: output fills within one piece
    for (const std::int64_t step : {std::int64_t{4000}, std::int64_t{100000}, std::int64_t{499999}})
    {
        CWriteSeqBuffer buffer;
        COutputZipStream zip;
        ASSERT_FALSE(zip.open(&buffer));
        const auto size = static_cast<std::int64_t>(data.size());
        for (std::int64_t at = 0; at < size; at += step)
            ASSERT_FALSE(zip.write(data.data() + at, std::min(step, size - at)));
        ASSERT_FALSE(zip.close());
        const CByteArray packed = buffer.getContents();
        CMemoryReader source(packed);
        CInputZipStream unzip;
        ASSERT_FALSE(unzip.open(&source));
        CByteArray out(data.size());
        for (std::int64_t at = 0; at < size; at += 777)
            ASSERT_FALSE(unzip.read(out.data() + at, std::min<std::int64_t>(777, size - at)));
        EXPECT_EQ(out, data) << step;
        EXPECT_EQ(unzip.read(out.data(), 1).message(), "Premature end of file.");
        ASSERT_FALSE(unzip.close());
    }
}

TEST(CompressedData, RefusesWhatItsHeaderOrItsChecksumContradict)
{
    const CByteArray data = noise(3000, 200);
    const CByteArray good = written(data);
    const CByteArray untouched{1, 2, 3};
    const auto messageWith = [&](CByteArray block) {
        CByteArray out = untouched;
        const std::string message = messageOf(block, out);
        EXPECT_EQ(out, untouched) << message;
        return message;
    };
    CByteArray block = good;
    block[0] ^= 1;
    EXPECT_EQ(messageWith(block),
              "Invalid ID encountered when reading compressed data (expected 1953721441, read 1953721440).");
    block = good;
    block[4] ^= 1;                                          // 3001 in the size field
    EXPECT_EQ(messageWith(block), "Invalid CRC encountered when reading compressed data (expected " +
                                      std::to_string(adlerOf(3001)) + ", read " + std::to_string(adlerOf(3000)) + ").");
    EXPECT_EQ(messageWith(blockOf(data, 3001)), "Premature end of file.");
    EXPECT_NE(messageWith(blockOf(data, 2999)), "");
    EXPECT_NE(messageWith(blockOf(data, 0)), "");
    block = good;
    block.back() ^= 1;                                      // the last byte of zlib's checksum
    EXPECT_EQ(messageWith(block), "zlib inflate error -3 (incorrect data check).");
    block = good;
    block[12] = 0;
    EXPECT_EQ(messageWith(block), "zlib inflate error -3 (incorrect header check).");
    for (std::size_t size = 0; size < good.size(); ++size)
        EXPECT_NE(messageWith(CByteArray(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size))), "") << size;

    CWriteSeqBuffer buffer;
    EXPECT_TRUE(buffer.writeCompressedData(data.data(), -1, id));
    EXPECT_TRUE(buffer.writeCompressedData(data.data(), CInputStream::largestData + 1, id));
    EXPECT_EQ(buffer.size(), 0);
}

// A false size field over a short stream must not cost memory.
TEST(CompressedData, TakesMemoryOnlyForBytesThatArrive)
{
#if defined(KOR_SANITIZE)
    constexpr long mostKilobytes = 256 * 1024;          // a sanitizer keeps freed memory for a while
#else
    constexpr long mostKilobytes = 64 * 1024;
#endif
    for (const std::size_t size : {100, 16 << 20})      // the second is a bomb: 16 KB that inflate to 16 MB
    {
        const CByteArray block = blockOf(CByteArray(size), static_cast<std::uint32_t>(CInputStream::largestData));
        rusage before;
        getrusage(RUSAGE_SELF, &before);
        CByteArray out;
        EXPECT_EQ(messageOf(block, out), "Premature end of file.");
        rusage after;
        getrusage(RUSAGE_SELF, &after);
        EXPECT_LT(after.ru_maxrss - before.ru_maxrss, mostKilobytes) << size;
    }
    CByteArray out;
    EXPECT_EQ(messageOf(blockOf(CByteArray(100), 0xFFFFFF00u), out),
              "Compressed data cannot have a size of 4294967040 bytes.");
}

TEST(CompressedData, PassesOnFailuresOfTheStreamsBelow)
{
    const CByteArray data = noise(200000, 250);
    const CByteArray block = written(data);
    CDripping source(block, 5000);
    CByteArray out;
    const CError readError = source.readCompressedData(out, id);
    EXPECT_EQ(readError.message(), "dry");
    EXPECT_GE(readError.lineCount(), 3);
    for (const std::int64_t room : {0, 8, 12, 100, 100000})
    {
        CFull target(room);
        const CError error = target.writeCompressedData(data.data(), static_cast<std::int64_t>(data.size()), id);
        EXPECT_EQ(error.message(), "full") << room;
    }
    CInputZipStream in;
    COutputZipStream zip;
    char byte = 0;
    EXPECT_EQ(in.open(nullptr).message(), "Input stream not specified.");
    EXPECT_EQ(in.read(&byte, 1).message(), "Input stream not specified.");
    EXPECT_EQ(zip.open(nullptr).message(), "Output stream not specified.");
    EXPECT_EQ(zip.write(&byte, 1).message(), "Output stream not specified.");
}

}
