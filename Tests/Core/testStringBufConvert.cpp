// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CStringBuf.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <tuple>

namespace kor
{

// Text, whether it is such a number, and its value.
template <typename Number>
using CNumberCase = std::tuple<const char*, bool, Number>;

TEST(StringBufConvert, ReadsIntegers)
{
    const CNumberCase<int> cases[] = {
        {"0", true, 0},
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
        {"0x", false, 0},
        {"1a", false, 0},
        {"#1g", false, 0},
        {"+1", false, 0},
        {" 1", false, 0},
        {"1 ", false, 0},
        {"#-1", false, 0},
        {"1.5", false, 0},
    };
    for (const auto& [chars, fits, value] : cases)
        for (bool isWide : {false, true})
        {
            CStringBuf text = chars;
            if (isWide)
                text.widen();
            bool ok = !fits;
            EXPECT_EQ(text.toInt(ok), value) << chars;
            EXPECT_EQ(ok, fits) << chars;
        }
    bool ok = true;
    EXPECT_EQ(CStringBuf(u"1\u0132").toInt(ok), 0);         // its low byte is a "2"
    EXPECT_FALSE(ok);
}

TEST(StringBufConvert, ReadsDoublesWhateverTheLocale)
{
    const CNumberCase<double> cases[] = {
        {"1.5", true, 1.5},
        {"-0,25", true, -0.25},
        {".5", true, 0.5},
        {"5.", true, 5.0},
        {"-", true, -0.0},
        {"9007199254740993", true, 9007199254740992.0},                 // a tie: to even
        {"9007199254740993.0000000000000000000000000000001", true, 9007199254740994.0},
        {"", false, 0.0},
        {"1.5.2", false, 0.0},
        {"1,000.5", false, 0.0},
        {"1e3", false, 0.0},
        {"+1", false, 0.0},
        {" 1", false, 0.0},
        {"1-", false, 0.0},
        {"nan", false, 0.0},
        {"0x10", false, 0.0},
    };
    for (const char* locale : {"C", "de_DE.UTF-8"})
    {
        std::setlocale(LC_ALL, locale);                     // where the second is not installed, nothing changes
        for (const auto& [chars, fits, value] : cases)
        {
            bool ok = !fits;
            const double got = CStringBuf(chars).toDouble(ok);
            EXPECT_EQ(ok, fits) << chars;
            EXPECT_EQ(got, value) << chars;
            EXPECT_EQ(std::signbit(got), std::signbit(value)) << chars;
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
        {-0.0, "-0"}, {1.0, "1"}, {0.1, "0.1"}, {1e21, "1000000000000000000000"}, {1e-7, "0.0000001"},
        {1.0 / 3.0, "0.3333333333333333"}};
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
    EXPECT_EQ(CStringBuf::fromInt(-7, 3), "-007"_s);
    EXPECT_EQ(CStringBuf::fromInt(1234, 2), "1234"_s);
    EXPECT_EQ(CStringBuf::fromInt(255, 4, 16), "00ff"_s);
    EXPECT_EQ(CStringBuf::fromInt(std::numeric_limits<long long>::min()), "-9223372036854775808"_s);
    EXPECT_EQ(CStringBuf::fromInt(7, 100).length(), 100);
}

TEST(StringBufConvert, DecodesUtf8)
{
    struct Case
    {
        const char* utf8;
        std::u16string units;
        bool isWide;
    };
    const Case cases[] = {
        {"\xC3\xA4\xC3\xBF", u"\u00E4\u00FF", false},                   // Latin-1 stays narrow
        {"a\xC4\x80z", u"a\u0100z", true},
        {"\xE2\x82\xAC", u"\u20AC", true},
        {"\xF4\x8F\xBF\xBF", u"\xDBFF\xDFFF", true},
        {"\xF4\x90\x80\x80x", u"x", false},                             // above the last character
        {"a\x80\xBF\xFF\xFE\xF8z", u"az", false},                       // nothing begins with these
        {"a\xF8\x88\x80\x80\x80z", u"az", false},                      // no longer form was ever agreed on
        {"\xC3(", u"(", false},                                         // ( does not continue, and is itself
        {"\xE2\x82\xC3\xA4", u"\u00E4", false},
        {"\xE2\x82", u"", false},                                       // cut by the end
        {"a\xC0\x80z", u"a", false},                                    // a code of 0 ends the text
    };
    for (const Case& c : cases)
    {
        const CStringBuf text = CStringBuf::fromUtf8(c.utf8);
        std::u16string units;
        for (int i = 0; i < text.length(); ++i)
            units += text.at(i);
        EXPECT_EQ(units, c.units) << c.utf8;
        EXPECT_EQ(text.isWide(), c.isWide) << c.utf8;
    }
}

TEST(StringBufConvert, EncodesUtf8AndBack)
{
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

TEST(StringBufConvert, CutsAtACharacterBoundary)
{
    const std::tuple<const char*, std::size_t, const char*> cases[] = {
        {"abcd", 4, "abcd"},
        {"abcd", 0, ""},
        {"a\xC3\xA4", 2, "a"},
        {"a\xC3\xA4", 3, "a\xC3\xA4"},
        {"a\xF0\x9F\x98\x80", 4, "a"},                      // a pair is one character
        {"a\xF0\x9F\x98\x80", 5, "a\xF0\x9F\x98\x80"},
    };
    for (const auto& [utf8, limit, kept] : cases)
    {
        CStringBuf text = CStringBuf::fromUtf8(utf8);
        text.cutToUtf8Bytes(limit);
        EXPECT_EQ(text.toUtf8(), kept) << utf8 << " " << limit;
    }
}

}
