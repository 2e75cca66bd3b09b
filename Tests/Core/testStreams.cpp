// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CMemoryReader.h"
#include "Core/CTextReaderLine.h"
#include "Core/CWriteSeqBuffer.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace kor
{

namespace
{

std::string bytesOf(const CWriteSeqBuffer& buffer)
{
    const CByteArray bytes = buffer.getContents();
    return {bytes.begin(), bytes.end()};
}

CMemoryReader readerOf(const std::string& bytes)
{
    return {bytes.data(), bytes.size()};
}

// Counts what the base class's skip asks for, and has a size of its own choice.
class CEndless : public CPosInputStream
{
public:
    CError read(void*, std::int64_t count) override
    {
        largest = std::max(largest, count);
        total += count;
        return {};
    }
    CError readRef(void* buffer, std::int64_t& count) override { return read(buffer, count); }
    CError getPosition(std::int64_t& position) override { return position = total, CError(); }
    CError setPosition(std::int64_t position) override { return total = position, CError(); }
    CError getSize(std::int64_t& result) override { return result = size, CError(); }

    std::int64_t largest = 0;
    std::int64_t total = 0;
    std::int64_t size = 0;
};

}

TEST(Streams, NumbersAndTextsAreLittleEndianOnTheWire)
{
    CWriteSeqBuffer buffer(3);                              // small chunks: every value crosses a border
    ASSERT_FALSE(buffer.writeU8(0x80));
    ASSERT_FALSE(buffer.writeU16(0x1234));
    ASSERT_FALSE(buffer.writeU32(0x89ABCDEF));
    ASSERT_FALSE(buffer.writeInt(-2));
    ASSERT_FALSE(buffer.writeU64(0x0102030405060708));
    ASSERT_FALSE(buffer.writeDouble(-1.5));
    ASSERT_FALSE(buffer.writeString(CStringBuf(u"a\u00E4\u20AC\xD83D\xDE00")));
    ASSERT_FALSE(buffer.writeString(""));
    const std::string expected("\x80"
                               "\x34\x12"
                               "\xEF\xCD\xAB\x89"
                               "\xFE\xFF\xFF\xFF"
                               "\x08\x07\x06\x05\x04\x03\x02\x01"
                               "\0\0\0\0\0\0\xF8\xBF"
                               "\x0A\0\0\0a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"
                               "\0\0\0\0",
                               1 + 2 + 4 + 4 + 8 + 8 + 4 + 10 + 4);
    EXPECT_EQ(bytesOf(buffer), expected);
    EXPECT_EQ(buffer.size(), static_cast<std::int64_t>(expected.size()));

    CMemoryReader reader = readerOf(expected);
    std::uint8_t u8 = 0;
    std::uint16_t u16 = 0;
    std::uint32_t u32 = 0;
    std::int32_t i32 = 0;
    std::uint64_t u64 = 0;
    double real = 0;
    CStringBuf text;
    CStringBuf empty = "left over";
    ASSERT_FALSE(reader.readU8(u8));
    ASSERT_FALSE(reader.readU16(u16));
    ASSERT_FALSE(reader.readU32(u32));
    ASSERT_FALSE(reader.readInt(i32));
    ASSERT_FALSE(reader.readU64(u64));
    ASSERT_FALSE(reader.readDouble(real));
    ASSERT_FALSE(reader.readString(text));
    ASSERT_FALSE(reader.readString(empty));
    EXPECT_EQ(u8, 0x80);
    EXPECT_EQ(u16, 0x1234);
    EXPECT_EQ(u32, 0x89ABCDEF);
    EXPECT_EQ(i32, -2);
    EXPECT_EQ(u64, 0x0102030405060708u);
    EXPECT_EQ(real, -1.5);
    EXPECT_EQ(text, CStringBuf(u"a\u00E4\u20AC\xD83D\xDE00"));
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_EQ(reader.getDirectPointer(), nullptr);
    EXPECT_EQ(fourCC("alst"), 0x74736C61u);

    // A failed read leaves its target alone.
    EXPECT_TRUE(reader.readU32(u32));
    EXPECT_EQ(u32, 0x89ABCDEF);
    buffer.clear();
    EXPECT_EQ(bytesOf(buffer), "");
    EXPECT_EQ(buffer.size(), 0);
}

TEST(Streams, LongestStringIs61440Bytes)
{
    CWriteSeqBuffer buffer;
    CStringBuf text = std::string_view(std::string(61438, 'x'));
    text.append(u'\u20AC');                                 // three bytes, one too many: cut in front of it
    ASSERT_FALSE(buffer.writeString(text));
    EXPECT_EQ(buffer.size(), 4 + 61438);

    for (const std::uint32_t count : {61440u, 61441u, 0xFFFFFFFFu})
    {
        CWriteSeqBuffer raw;
        ASSERT_FALSE(raw.writeU32(count));
        const std::string body(61441, 'y');
        ASSERT_FALSE(raw.write(body.data(), static_cast<std::int64_t>(body.size())));
        const std::string bytes = bytesOf(raw);
        CMemoryReader reader = readerOf(bytes);
        CStringBuf out = "before";
        const CError error = reader.readString(out);
        if (count == 61440)
        {
            EXPECT_FALSE(error);
            EXPECT_EQ(out.length(), 61440);
            continue;
        }
        EXPECT_EQ(error.message(), "String length " + std::to_string(count) + " too long in readString().");
        EXPECT_EQ(out, "before"_s);
    }
    const std::string cutBytes("\x05\0\0\0abcd", 8);
    CMemoryReader cut = readerOf(cutBytes);
    CStringBuf out = "before";
    EXPECT_TRUE(cut.readString(out));
    EXPECT_EQ(out, "before"_s);
}

TEST(Streams, MemoryReaderKeepsToItsBlock)
{
    const std::string bytes = "0123456789";
    CMemoryReader reader = readerOf(bytes);
    char to[16] = {};
    EXPECT_EQ(reader.getDirectPointer(), bytes.data());
    ASSERT_FALSE(reader.skip(0));
    ASSERT_FALSE(reader.skip(-5));
    ASSERT_FALSE(reader.skip(4));
    EXPECT_EQ(reader.getDirectPointer(), bytes.data() + 4);
    EXPECT_EQ(reader.read(to, 7).message(),
              "Premature end of memory resource while reading (pos 4, count 7, size 10).");
    EXPECT_EQ(to[0], 0);
    EXPECT_EQ(reader.skip(7).message(), "Premature end of memory resource while skipping (pos 4, count 7, size 10).");
    EXPECT_TRUE(reader.read(to, std::numeric_limits<std::int64_t>::max()));
    EXPECT_EQ(reader.setPosition(11).message(), "Positioning beyond memory resource end (newpos 11, size 10).");
    EXPECT_EQ(reader.setPosition(-1).message(), "Positioning beyond memory resource end (newpos -1, size 10).");

    std::int64_t count = 100;                               // readRef alone may read short
    ASSERT_FALSE(reader.readRef(to, count));
    EXPECT_EQ(std::string(to, static_cast<std::size_t>(count)), "456789");
    ASSERT_FALSE(reader.readRef(to, count));
    EXPECT_EQ(count, 0);
    EXPECT_EQ(reader.getDirectPointer(), nullptr);
    ASSERT_FALSE(reader.setPosition(10));
    ASSERT_FALSE(reader.setPosition(9));
    std::int32_t position = 0;
    std::int32_t size = 0;
    ASSERT_FALSE(reader.getPositionInt32(position));
    ASSERT_FALSE(reader.getSizeInt(size));
    EXPECT_EQ(position, 9);
    EXPECT_EQ(size, 10);
}

TEST(Streams, BaseSkipsInChunksAndNarrowFormsRefuseMoreThan2GB)
{
    CEndless stream;
    ASSERT_FALSE(stream.skip(0));
    ASSERT_FALSE(stream.skip(-1));
    EXPECT_EQ(stream.total, 0);
    ASSERT_FALSE(stream.skip(100000));
    EXPECT_EQ(stream.total, 100000);
    EXPECT_EQ(stream.largest, 32768);
    std::int32_t narrow = 5;
    for (const std::int64_t size : {std::int64_t{0x7FFFFFFF}, std::int64_t{0x80000000}, std::int64_t{1} << 40})
    {
        stream.size = stream.total = size;
        const char* expected = size == 0x7FFFFFFF ? "" : "The size of the stream is above allowed 2 GB.";
        EXPECT_EQ(stream.getSizeInt(narrow).message(), expected);
        EXPECT_EQ(stream.getPositionInt32(narrow).message(), expected);
        EXPECT_EQ(narrow, 0x7FFFFFFF);
    }
}

struct LinesCase
{
    CTextReaderLine::Encoding encoding;
    std::string bytes;
    std::vector<std::u16string> lines;
};

TEST(Streams, TextIsReadLineByLine)
{
    using Encoding = CTextReaderLine::Encoding;
    const auto raw = [](const char* text, std::size_t size) { return std::string(text, size); };
    const LinesCase cases[] = {
        {Encoding::utf8, "", {}},
        {Encoding::utf8, "\n", {u""}},
        {Encoding::utf8, "a\r\nb", {u"a", u"b"}},
        {Encoding::utf8, "a\r\rb\n\nc\n", {u"ab", u"", u"c"}},
        {Encoding::utf8, "\xEF\xBB\xBF\xC3\xA4\n\xE2\x82\xAC", {u"\u00E4", u"\u20AC"}},
        {Encoding::utf8, "\xE2\x82\nx", {u"", u"x"}},                   // a sequence does not swallow the line's end
        {Encoding::singleByte, "\xE4\r\n\xFF", {u"\u00E4", u"\u00FF"}},
        {Encoding::units16, raw("a\0\r\0\n\0\xAC\x20\n\x01", 10), {u"a", u"\u20AC\u010A"}},     // 0x010A is no LF
        {Encoding::units16, raw("\xFF\xFE" "a\0x", 5), {u"a"}},         // mark dropped, cut unit ignored
        {Encoding::units32, raw("\xE4\0\0\0\n\0\0\0\0\xF6\x01\0\0\0\x11\0z\0\0", 19), {u"\u00E4", u"\xD83D\xDE00"}},
    };
    for (const LinesCase& c : cases)
    {
        CTextReaderLine reader(c.bytes.data(), c.bytes.size(), c.encoding);
        CStringBuf line = "before";
        for (const std::u16string& expected : c.lines)
        {
            ASSERT_TRUE(reader.readLine(line)) << c.bytes;
            EXPECT_EQ(line, CStringBuf(std::u16string_view(expected))) << c.bytes;
            const bool isWide = expected.find_first_not_of(u"ab\u00E4\u00FFcx") != std::u16string::npos;
            EXPECT_EQ(line.isWide(), isWide) << c.bytes;
        }
        const CStringBuf last = line;
        EXPECT_FALSE(reader.readLine(line)) << c.bytes;
        EXPECT_EQ(line, last);
    }
}

}
