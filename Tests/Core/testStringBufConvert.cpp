// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CStringBuf.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>

namespace kor
{

struct IntCase
{
    const char* text;
    bool ok;
    int value;
};

TEST(StringBufConvert, ReadsIntegers)
{
    const IntCase cases[] = {
        {"0", true, 0},
        {"-3", true, -3},
        {"007", true, 7},
        {"2147483647", true, 2147483647},
        {"2147483648", false, 0},
        {"-2147483648", true, -2147483647 - 1},
        {"-2147483649", false, 0},
        {"99999999999999999999999999", false, 0},
        {"0x10", true, 16},
        {"0XaBc", true, 0xABC},
        {"#ff", true, 255},
        {"$7F", true, 127},
        {"-#10", true, -16},
        {"0xFFFFFFFF", true, -1},                   // a pattern of 32 bits
        {"0x100000000", false, 0},
        {"-0x80000001", false, 0},
        {"", false, 0},
        {"-", false, 0},
        {"#", false, 0},
        {"0x", false, 0},
        {"12a", false, 0},
        {"1a", false, 0},
        {"#1g", false, 0},
        {"+1", false, 0},
        {" 1", false, 0},
        {"1 ", false, 0},
        {"--1", false, 0},
        {"#-1", false, 0},
        {"1.5", false, 0},
    };
    for (const IntCase& c : cases)
        for (bool isWide : {false, true})
        {
            CStringBuf text = c.text;
            if (isWide)
                text.widen();
            bool ok = !c.ok;
            EXPECT_EQ(text.toInt(ok), c.value) << c.text;
            EXPECT_EQ(ok, c.ok) << c.text;
        }
    bool ok = true;
    EXPECT_EQ(CStringBuf(u"1\u0132").toInt(ok), 0);         // its low byte is a "2"
    EXPECT_FALSE(ok);
}

struct DoubleCase
{
    const char* text;
    bool ok;
    double value;
};

TEST(StringBufConvert, ReadsDoublesWhateverTheLocale)
{
    const DoubleCase cases[] = {
        {"1.5", true, 1.5},
        {"1,5", true, 1.5},
        {"-0,25", true, -0.25},
        {".5", true, 0.5},
        {"5.", true, 5.0},
        {"-", true, -0.0},
        {"0.1", true, 0.1},
        {"9007199254740993", true, 9007199254740992.0},                 // a tie: to even
        {"9007199254740993.0000000000000000000000000000001", true, 9007199254740994.0},
        {"2.2250738585072011", true, 2.2250738585072011},
        {"", false, 0.0},
        {"1.5.2", false, 0.0},
        {"1,000.5", false, 0.0},
        {"1e3", false, 0.0},
        {"+1", false, 0.0},
        {" 1", false, 0.0},
        {"1-", false, 0.0},
        {"--1", false, 0.0},
        {"nan", false, 0.0},
        {"inf", false, 0.0},
        {"0x10", false, 0.0},
    };
    for (const char* locale : {"C", "de_DE.UTF-8"})
    {
        std::setlocale(LC_ALL, locale);                     // where the second is not installed, nothing changes
        for (const DoubleCase& c : cases)
        {
            bool ok = !c.ok;
            const double value = CStringBuf(c.text).toDouble(ok);
            EXPECT_EQ(ok, c.ok) << c.text;
            EXPECT_EQ(value, c.value) << c.text;
            EXPECT_EQ(std::signbit(value), std::signbit(c.value)) << c.text;
        }
        EXPECT_EQ(CStringBuf::fromDouble(0.5), "0.5"_s);
        std::setlocale(LC_ALL, "C");
    }
    bool ok = false;
    const std::string manyDigits = "0." + std::string(400, '0') + "1";
    EXPECT_EQ(CStringBuf(std::string_view(manyDigits)).toDouble(ok), 0.0);
    EXPECT_TRUE(ok);
    EXPECT_EQ(CStringBuf(std::string_view("1" + std::string(309, '0'))).toDouble(ok), 0.0);
    EXPECT_FALSE(ok);                                       // above the largest double
}

TEST(StringBufConvert, WritesTheShortestTextThatReadsBack)
{
    const std::pair<double, const char*> cases[] = {
        {0.0, "0"}, {-0.0, "-0"}, {1.0, "1"}, {0.1, "0.1"}, {-2.5, "-2.5"}, {1e21, "1000000000000000000000"},
        {1e-7, "0.0000001"}, {1.0 / 3.0, "0.3333333333333333"}, {123456.789, "123456.789"}};
    for (const auto& [value, text] : cases)
        EXPECT_TRUE(CStringBuf::fromDouble(value).equals(text)) << text;

    std::mt19937_64 random(5);
    for (int i = 0; i < 20000; ++i)
    {
        const std::uint64_t bits = random();
        double value;
        std::memcpy(&value, &bits, sizeof value);
        if (!std::isfinite(value))
            continue;
        const CStringBuf text = CStringBuf::fromDouble(value);
        ASSERT_EQ(text.findChar('e'), -1);
        ASSERT_EQ(std::strtod(text.toUtf8().c_str(), nullptr), value);  // the C library's reader, in the C locale
        bool ok = false;
        ASSERT_EQ(text.toDouble(ok), value) << text.toUtf8();
        ASSERT_TRUE(ok);
    }
}

TEST(StringBufConvert, WritesIntegers)
{
    EXPECT_EQ(CStringBuf::fromInt(0), "0"_s);
    EXPECT_EQ(CStringBuf::fromInt(-7, 3), "-007"_s);
    EXPECT_EQ(CStringBuf::fromInt(1234, 2), "1234"_s);
    EXPECT_EQ(CStringBuf::fromInt(255, 4, 16), "00ff"_s);
    EXPECT_EQ(CStringBuf::fromInt(5, 1, 2), "101"_s);
    EXPECT_EQ(CStringBuf::fromInt(std::numeric_limits<long long>::min()), "-9223372036854775808"_s);
    EXPECT_EQ(CStringBuf::fromInt(7, 100).length(), 100);
}

struct DecodeCase
{
    const char* utf8;
    std::u16string units;
    bool isWide;
};

TEST(StringBufConvert, DecodesUtf8)
{
    const DecodeCase cases[] = {
        {"plain", u"plain", false},
        {"\xC3\xA4\xC3\xBF", u"\u00E4\u00FF", false},                   // Latin-1 stays narrow
        {"a\xC4\x80z", u"a\u0100z", true},
        {"\xE2\x82\xAC", u"\u20AC", true},
        {"\xF0\x9F\x98\x80", u"\xD83D\xDE00", true},
        {"\xF4\x8F\xBF\xBF", u"\xDBFF\xDFFF", true},
        {"\xF4\x90\x80\x80x", u"x", false},                             // above the last character
        {"a\x80\xBF\xFF\xFE\xF8z", u"az", false},                       // nothing begins with these
        {"a\xF8\x88\x80\x80\x80z", u"az", false},                      // no longer form was ever agreed on
        {"\xC3(", u"(", false},                                         // ( does not continue, and is itself
        {"\xE2\x82\xC3\xA4", u"\u00E4", false},
        {"\xE2\x82", u"", false},                                       // cut by the end
        {"a\xC0\x80z", u"a", false},                                    // a code of 0 ends the text
    };
    for (const DecodeCase& c : cases)
    {
        const CStringBuf text = CStringBuf::fromUtf8(c.utf8);
        std::u16string units;
        for (int i = 0; i < text.length(); ++i)
            units += text.at(i);
        EXPECT_EQ(units, c.units) << c.utf8;
        EXPECT_EQ(text.isWide(), c.isWide) << c.utf8;
    }
    EXPECT_EQ(CStringBuf::fromUtf8(std::string_view("a\0b", 3)), "a"_s);
}

TEST(StringBufConvert, EncodesUtf8AndBack)
{
    EXPECT_EQ(CStringBuf("\xE4").toUtf8(), "\xC3\xA4");
    EXPECT_EQ(CStringBuf(u"\u20AC\xD83D\xDE00").toUtf8(), "\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(CStringBuf(u"\xD83D!").toUtf8(), "\xED\xA0\xBD!");        // half a pair goes alone
    std::mt19937 random(9);
    for (int i = 0; i < 3000; ++i)
    {
        std::u16string units;
        for (auto n = random() % 40; n > 0; --n)
            units += static_cast<char16_t>(1 + random() % (random() % 2 == 0 ? 0x7F : 0xFFFF));
        const CStringBuf text = std::u16string_view(units);
        ASSERT_EQ(CStringBuf::fromUtf8(text.toUtf8()), text) << i;
    }
}

struct CutCase
{
    const char* utf8;
    std::size_t limit;
    const char* kept;
};

TEST(StringBufConvert, CutsAtACharacterBoundary)
{
    const CutCase cases[] = {
        {"abcd", 4, "abcd"},
        {"abcd", 3, "abc"},
        {"abcd", 0, ""},
        {"a\xC3\xA4", 2, "a"},
        {"a\xC3\xA4", 3, "a\xC3\xA4"},
        {"\xE2\x82\xAC\xE2\x82\xAC", 5, "\xE2\x82\xAC"},
        {"a\xF0\x9F\x98\x80", 4, "a"},                      // a pair is one character
        {"a\xF0\x9F\x98\x80", 5, "a\xF0\x9F\x98\x80"},
    };
    for (const CutCase& c : cases)
    {
        CStringBuf text = CStringBuf::fromUtf8(c.utf8);
        text.cutToUtf8Bytes(c.limit);
        EXPECT_EQ(text.toUtf8(), c.kept) << c.utf8 << " " << c.limit;
    }
}

}
