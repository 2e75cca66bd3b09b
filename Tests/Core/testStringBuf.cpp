// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CStringBuf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <tuple>
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

std::u16string replacedIn(const std::u16string& text, int start, int length, const std::u16string& by)
{
    const int size = static_cast<int>(text.size());
    const int at = std::min(std::max(start, 0), size);
    return cutOf(text, 0, at) + by + (length < 0 ? u"" : cutOf(text, at + std::min(length, size - at), -1));
}

}

TEST(StringBuf, StaysInlineUpTo30BytesWithTerminator)
{
    const std::tuple<std::size_t, bool, bool> cases[] = {                  // length, wide, inline
        {0, false, true}, {29, false, true}, {30, false, false}, {14, true, true}, {15, true, false}};
    for (const auto& [length, isWide, isInline] : cases)
        EXPECT_EQ(make({std::u16string(length, u'x'), isWide}).isInline(), isInline) << length;
    // Once left, the inline buffer is not returned to.
    CStringBuf text = make({std::u16string(40, u'x'), false});
    text = CStringBuf("a");
    EXPECT_FALSE(text.isInline());
    text.clear();
    EXPECT_FALSE(text.isInline());
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
        const int start = static_cast<int>(random() % 60) - 5;
        const int length = static_cast<int>(random() % 40) - 2;
        const unsigned action = random() % 10;
        switch (action)
        {
        case 0:
            text = random() % 2 == 0 ? CStringBuf(other) : other;
            model = otherModel;
            break;
        case 1:
            if (random() % 2 == 0)
                text.append(other);
            else
                text = text + other;
            model = {model.text + otherModel.text, model.isWide || otherModel.isWide};
            break;
        case 2:
            text += text;
            model.text += model.text;
            break;
        case 3:
            text.append(static_cast<char16_t>(random() % 300));
            model.text += text.at(text.length() - 1);
            model.isWide |= model.text.back() > 255;
            break;
        case 4:
            text.replace(start, length, other);
            model.text = replacedIn(model.text, start, length, otherModel.text);
            // Replacing by nothing need not widen.
            model.isWide |= otherModel.isWide && (!otherModel.text.empty() || text.isWide());
            break;
        case 5:
            text.replace(start, length, text);
            model.text = replacedIn(model.text, start, length, model.text);
            break;
        case 6:
            if (random() % 2 == 0)
                text.substr(text, start, length);
            else
                text = text.substr(start, length);
            model.text = cutOf(model.text, start, length);
            break;
        case 7:
            text.widen();
            model.isWide = true;
            break;
        case 8:
            text.makeNarrow();
            for (char16_t& unit : model.text)
                unit &= 0xFF;
            model.isWide = false;
            break;
        default:
            if (const char* own = text.narrow())            // a piece of the string itself
            {
                text.append(std::string_view(own, model.text.size() / 2));
                model.text += model.text.substr(0, model.text.size() / 2);
            }
        }
        if (model.text.size() > 400)
        {
            text.clear();
            model = {};
        }
        ASSERT_EQ(unitsOf(text), model.text) << "step " << step << " action " << action;
        ASSERT_EQ(text.isWide(), model.isWide) << "step " << step << " action " << action;
        ASSERT_TRUE(isTerminated(text)) << "step " << step << " action " << action;

        const char16_t wanted = otherModel.text.empty() ? u'a' : otherModel.text[0];
        const auto first = model.text.find(wanted, static_cast<std::size_t>(std::max(start, 0)));
        ASSERT_EQ(text.findChar(wanted, start), first == std::u16string::npos ? -1 : static_cast<int>(first));
        const auto last = model.text.rfind(wanted);
        ASSERT_EQ(text.findLastChar(wanted), last == std::u16string::npos ? -1 : static_cast<int>(last));
        ASSERT_EQ(text.startsWith(other), model.text.starts_with(otherModel.text)) << step;
        CStringBuf moved = std::move(text);
        ASSERT_TRUE(text.isEmpty() && !text.isWide() && isTerminated(text));
        text = std::move(moved);
    }
}

TEST(StringBuf, ComparesByUnitsAcrossWidths)
{
    const std::u16string ascending[] = {
        u"", u"\u0001", u"A", u"AA", u"aaaaa", u"aaaab", u"\u0080", u"\u00FF", u"\u00FFa", u"\u0100",
        u"\u0100\u0001", u"\u01FF", u"\u0200", u"\xD83D\xDE00", u"\uFFFF"};
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

TEST(StringBuf, SplitsAtEverySeparator)
{
    struct Case
    {
        const char* text;
        bool skipEmpty;
        std::vector<const char*> pieces;
    };
    const Case cases[] = {
        {"a;;b;", false, {"a", "", "b", ""}}, {"a;;b;", true, {"a", "b"}}, {"abc", true, {"abc"}},
        {"", false, {""}},                    {"", true, {}},              {";", true, {}},
    };
    for (const Case& c : cases)
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
}

}
