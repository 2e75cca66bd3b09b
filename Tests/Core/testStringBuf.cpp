// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CStringBuf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

namespace kor
{

namespace
{

// The plain model of a string: its units and its width.
struct CModel
{
    std::u16string text;
    bool isWide = false;
};

std::u16string unitsOf(const CStringBuf& s)
{
    std::u16string text;
    for (int i = 0; i < s.length(); ++i)
        text += s.at(i);
    return text;
}

// The terminator must be there in the string's own width.
bool isTerminated(const CStringBuf& s)
{
    return s.isWide() ? s.wideUnits()[s.length()] == 0 : s.narrow()[s.length()] == 0;
}

CStringBuf make(const CModel& model)
{
    if (model.isWide)
        return CStringBuf(std::u16string_view(model.text));
    std::string latin1;
    for (char16_t unit : model.text)
        latin1 += static_cast<char>(unit);
    return CStringBuf(std::string_view(latin1));
}

CModel randomModel(std::mt19937& random)
{
    CModel model;
    model.isWide = random() % 3 == 0;
    const char16_t units[] = {'a', 'b', '.', ' ', 0x7F, 0x80, 0xFF, 0x100, 0x161, 0xFFFF};
    const std::size_t kinds = model.isWide ? 10 : 7;
    for (auto n = random() % (random() % 4 == 0 ? 90 : 18); n > 0; --n)
        model.text += units[random() % kinds];
    return model;
}

std::u16string cutOf(const std::u16string& text, int start, int length)
{
    const int size = static_cast<int>(text.size());
    start = std::min(std::max(start, 0), size);
    const int end = length < 0 || length > size - start ? size : start + length;
    return text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start));
}

}

struct InlineCase
{
    int length;
    bool isWide;
    bool isInline;
};

TEST(StringBuf, StaysInlineUpTo30BytesWithTerminator)
{
    const InlineCase cases[] = {{0, false, true},  {29, false, true}, {30, false, false}, {0, true, true},
                                {14, true, true},  {15, true, false}, {4096, false, false}};
    for (const InlineCase& c : cases)
    {
        const std::u16string text(static_cast<std::size_t>(c.length), u'x');
        const CStringBuf built = make({text, c.isWide});
        EXPECT_EQ(built.isInline(), c.isInline) << c.length;
        CStringBuf grown;
        if (c.isWide)
            grown.widen();
        for (int i = 0; i < c.length; ++i)
            grown.append(u'x');
        EXPECT_EQ(grown.isInline(), c.isInline) << c.length;
        EXPECT_EQ(unitsOf(grown), text);
    }
    // Once left, the inline buffer is not returned to.
    CStringBuf text = make({std::u16string(40, u'x'), false});
    text = CStringBuf("a");
    EXPECT_FALSE(text.isInline());
    text.clear();
    EXPECT_FALSE(text.isInline());
    EXPECT_TRUE(text.isEmpty());
}

TEST(StringBuf, OneWideCharacterWidensAndKeepsTheRest)
{
    std::string latin1;
    for (int i = 0; i < 300; ++i)
        latin1 += static_cast<char>(1 + i % 255);
    CStringBuf text = std::string_view(latin1);
    text.append(u'\u0161');
    ASSERT_TRUE(text.isWide());
    ASSERT_EQ(text.length(), 301);
    for (int i = 0; i < 300; ++i)
        ASSERT_EQ(text.at(i), 1 + i % 255) << i;
    EXPECT_EQ(text.at(300), 0x161);
    text.makeNarrow();
    EXPECT_EQ(text.at(300), 0x61);                          // the high byte is dropped
    EXPECT_EQ(text.at(254), 255);
    EXPECT_TRUE(isTerminated(text));
}

// Every operation against the model, on strings of both widths and on both sides of the inline limit.
TEST(StringBuf, BehavesAsItsModel)
{
    std::mt19937 random(20);
    CStringBuf text;
    CModel model;
    for (int step = 0; step < 60000; ++step)
    {
        const CModel otherModel = randomModel(random);
        const CStringBuf other = make(otherModel);
        const int size = static_cast<int>(model.text.size());
        const int start = static_cast<int>(random() % 60) - 5;
        const int length = static_cast<int>(random() % 40) - 2;
        const unsigned action = random() % 13;
        switch (action)
        {
        case 0:
            text = other;
            model = otherModel;
            break;
        case 1:
            text = CStringBuf(other);
            model = otherModel;
            break;
        case 2:
            text.append(other);
            model.text += otherModel.text;
            model.isWide |= otherModel.isWide;
            break;
        case 3:
            text += text;
            model.text += model.text;
            break;
        case 4:
            text.append(static_cast<char16_t>(random() % 300));
            model.text += text.at(text.length() - 1);
            model.isWide |= model.text.back() > 255;
            break;
        case 5:
            text.replace(start, length, other);
            {
                const int at = std::min(std::max(start, 0), size);
                const std::u16string head = cutOf(model.text, 0, at);
                const std::u16string tail =
                    length < 0 ? std::u16string() : cutOf(model.text, at + std::min(length, size - at), -1);
                model.text = head + otherModel.text + tail;
            }
            model.isWide |= otherModel.isWide;
            break;
        case 6:
            text.substr(text, start, length);
            model.text = cutOf(model.text, start, length);
            break;
        case 7:
            text = text.substr(start, length);
            model.text = cutOf(model.text, start, length);
            break;
        case 8:
            text.widen();
            model.isWide = true;
            break;
        case 9:
            text.makeNarrow();
            for (char16_t& unit : model.text)
                unit &= 0xFF;
            model.isWide = false;
            break;
        case 10:
            text = text + other;
            model.text += otherModel.text;
            model.isWide |= otherModel.isWide;
            break;
        case 11:
            if (const char* own = text.narrow())            // a piece of the string itself
            {
                text.append(std::string_view(own, static_cast<std::size_t>(size / 2)));
                model.text += model.text.substr(0, static_cast<std::size_t>(size / 2));
            }
            break;
        default:
            text.replace(start, length, text);
            {
                const int at = std::min(std::max(start, 0), size);
                const std::u16string tail =
                    length < 0 ? std::u16string() : cutOf(model.text, at + std::min(length, size - at), -1);
                model.text = cutOf(model.text, 0, at) + model.text + tail;
            }
            break;
        }
        if (model.text.size() > 400)
        {
            text.clear();
            model = {};
        }
        ASSERT_EQ(unitsOf(text), model.text) << "step " << step << " action " << action;
        if (action != 5 || !otherModel.text.empty())          // replacing by nothing need not widen
        {
            ASSERT_EQ(text.isWide(), model.isWide) << "step " << step << " action " << action;
        }
        model.isWide = text.isWide();
        ASSERT_TRUE(isTerminated(text)) << "step " << step << " action " << action;

        const char16_t wanted = otherModel.text.empty() ? u'a' : otherModel.text[0];
        const auto first = model.text.find(wanted, static_cast<std::size_t>(std::max(start, 0)));
        ASSERT_EQ(text.findChar(wanted, start), first == std::u16string::npos ? -1 : static_cast<int>(first));
        const auto last = model.text.rfind(wanted);
        ASSERT_EQ(text.findLastChar(wanted), last == std::u16string::npos ? -1 : static_cast<int>(last));
        const int order = model.text.compare(otherModel.text);
        ASSERT_EQ(text.compare(other) < 0, order < 0) << step;
        ASSERT_EQ(text.compare(other) > 0, order > 0) << step;
        ASSERT_EQ(text == other, order == 0) << step;
        ASSERT_EQ(text.startsWith(other), model.text.compare(0, otherModel.text.size(), otherModel.text) == 0) << step;
        CStringBuf moved = std::move(text);
        ASSERT_TRUE(text.isEmpty() && !text.isWide() && isTerminated(text));
        text = std::move(moved);
    }
}

TEST(StringBuf, ComparesByUnitsAcrossWidths)
{
    const std::u16string ascending[] = {
        u"",       u"\u0001", u"A",       u"AA",     u"Aa",           u"B",      u"a",      u"aaaaa",        u"aaaab",
        u"\u0080", u"\u00FF", u"\u00FFa", u"\u0100", u"\u0100\u0001", u"\u01FF", u"\u0200", u"\xD83D\xDE00", u"\uFFFF"};
    const auto isLatin1 = [](const std::u16string& s) {
        return std::all_of(s.begin(), s.end(), [](char16_t unit) { return unit < 256; });
    };
    for (std::size_t a = 0; a < std::size(ascending); ++a)
        for (std::size_t b = 0; b < std::size(ascending); ++b)
            for (int widths = 0; widths < 4; ++widths)
            {
                const CStringBuf left = make({ascending[a], (widths & 1) != 0 || !isLatin1(ascending[a])});
                const CStringBuf right = make({ascending[b], (widths & 2) != 0 || !isLatin1(ascending[b])});
                EXPECT_EQ(left < right, a < b) << a << " " << b;
                EXPECT_EQ(left == right, a == b) << a << " " << b;
            }
}

struct SplitCase
{
    const char* text;
    bool skipEmpty;
    std::vector<const char*> pieces;
};

TEST(StringBuf, SplitsAtEverySeparator)
{
    const SplitCase cases[] = {
        {"a;b", false, {"a", "b"}},       {"a;;b;", false, {"a", "", "b", ""}}, {"a;;b;", true, {"a", "b"}},
        {"", false, {""}},                {"", true, {}},                       {";", false, {"", ""}},
        {";", true, {}},                  {"abc", true, {"abc"}},
    };
    for (const SplitCase& c : cases)
        for (bool isWide : {false, true})
        {
            CStringBuf text = c.text;
            if (isWide)
                text.widen();
            CArray<CStringBuf> pieces{CStringBuf("left over")};
            text.split(pieces, ';', c.skipEmpty);
            ASSERT_EQ(pieces.size(), c.pieces.size()) << c.text;
            for (std::size_t i = 0; i < pieces.size(); ++i)
                EXPECT_TRUE(pieces[i].equals(c.pieces[i])) << c.text << " " << i;
        }
}

TEST(StringBuf, TrimsBlanksAtBothEnds)
{
    EXPECT_EQ(CStringBuf("  a b ").trimmed(), "a b"_s);
    EXPECT_EQ(CStringBuf("   ").trimmed(), ""_s);
    EXPECT_EQ(CStringBuf("a").trimmed(), "a"_s);
    EXPECT_TRUE(gEmptyString.isEmpty());
}

}
