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

    CMemoryReader reader = readerOf(expected);
    const auto read = [&reader]<typename Value>(CError (CInputStream::*readValue)(Value&))
    {
        Value value{};
        EXPECT_FALSE((reader.*readValue)(value));
        return value;
    };
    EXPECT_EQ(read(&CInputStream::readU8), 0x80);
    EXPECT_EQ(read(&CInputStream::readU16), 0x1234);
    EXPECT_EQ(read(&CInputStream::readU32), 0x89ABCDEF);
    EXPECT_EQ(read(&CInputStream::readInt), -2);
    EXPECT_EQ(read(&CInputStream::readU64), 0x0102030405060708u);
    EXPECT_EQ(read(&CInputStream::readDouble), -1.5);
    EXPECT_EQ(read(&CInputStream::readString), CStringBuf(u"a\u00E4\u20AC\xD83D\xDE00"));
    EXPECT_EQ(read(&CInputStream::readString), ""_s);
    EXPECT_EQ(fourCC("alst"), 0x74736C61u);
    std::uint32_t untouched = 7;
    EXPECT_TRUE(reader.readU32(untouched));
    EXPECT_EQ(untouched, 7u);
}

TEST(Streams, LongestStringIs61440Bytes)
{
    CWriteSeqBuffer buffer;
    CStringBuf text = std::string_view(std::string(61438, 'x'));
    text.append(u'\u20AC');                                 // three bytes, one too many: cut in front of it
    ASSERT_FALSE(buffer.writeString(text));
    EXPECT_EQ(buffer.size(), 4 + 61438);

    const auto read = [](std::uint32_t count, std::size_t bytesThere, CStringBuf& out)
    {
        CWriteSeqBuffer raw;
        EXPECT_FALSE(raw.writeU32(count));
        EXPECT_FALSE(raw.write(std::string(bytesThere, 'y').data(), static_cast<std::int64_t>(bytesThere)));
        const std::string bytes = bytesOf(raw);
        CMemoryReader reader = readerOf(bytes);
        return reader.readString(out).message();
    };
    CStringBuf out = "before";
    EXPECT_EQ(read(61441, 61441, out), "String length 61441 too long in readString().");
    EXPECT_EQ(read(0xFFFFFFFF, 61441, out), "String length 4294967295 too long in readString().");
    EXPECT_NE(read(5, 4, out), "");
    EXPECT_EQ(out, "before"_s);
    EXPECT_EQ(read(61440, 61441, out), "");
    EXPECT_EQ(out.length(), 61440);
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
    EXPECT_TRUE(reader.setPosition(11));
    EXPECT_EQ(reader.setPosition(-1).message(), "Positioning beyond memory resource end (newpos -1, size 10).");

    std::int64_t count = 100;                               // readRef alone may read short
    ASSERT_FALSE(reader.readRef(to, count));
    EXPECT_EQ(std::string(to, static_cast<std::size_t>(count)), "456789");
    ASSERT_FALSE(reader.readRef(to, count));
    EXPECT_EQ(count, 0);
    ASSERT_FALSE(reader.setPosition(10));
    EXPECT_EQ(reader.getDirectPointer(), nullptr);
}

TEST(Streams, TextIsReadLineByLine)
{
    using Encoding = CTextReaderLine::Encoding;
    struct Case
    {
        Encoding encoding;
        std::string bytes;
        std::vector<std::u16string> lines;
    };
    const auto raw = [](const char* text, std::size_t size) { return std::string(text, size); };
    const Case cases[] = {
        {Encoding::utf8, "", {}},
        {Encoding::utf8, "\n", {u""}},
        {Encoding::utf8, "a\r\rb\n\nc\n", {u"ab", u"", u"c"}},
        {Encoding::utf8, "\xEF\xBB\xBF\xC3\xA4\n\xE2\x82\xAC", {u"\u00E4", u"\u20AC"}},
        {Encoding::utf8, "\xE2\x82\nx", {u"", u"x"}},                   // a sequence does not swallow the line's end
        {Encoding::singleByte, "\xE4\r\n\xFF", {u"\u00E4", u"\u00FF"}},
        {Encoding::units16, raw("a\0\r\0\n\0\xAC\x20\n\x01", 10), {u"a", u"\u20AC\u010A"}},     // 0x010A is no LF
        {Encoding::units16, raw("\xFF\xFE" "a\0x", 5), {u"a"}},         // mark dropped, cut unit ignored
        {Encoding::units32, raw("\xE4\0\0\0\n\0\0\0\0\xF6\x01\0\0\0\x11\0z\0\0", 19), {u"\u00E4", u"\xD83D\xDE00"}},
    };
    for (const Case& c : cases)
    {
        CTextReaderLine reader(c.bytes.data(), c.bytes.size(), c.encoding);
        CStringBuf line = "before";
        for (const std::u16string& expected : c.lines)
        {
            ASSERT_TRUE(reader.readLine(line)) << c.bytes;
            EXPECT_EQ(line, CStringBuf(std::u16string_view(expected))) << c.bytes;
        }
        const CStringBuf last = line;
        EXPECT_FALSE(reader.readLine(line)) << c.bytes;
        EXPECT_EQ(line, last);
    }
}

}
