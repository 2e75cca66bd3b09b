// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CError.h"
#include "Core/CStringBuf.h"

#include <gtest/gtest.h>

namespace kor
{

namespace
{

CError deepest()
{
    return KOR_FAIL("Item %2 of %1 (%3%%)", 5, "x%1", 2.5);
}

struct CNamed
{
    const CStringBuf& errorContext() const { return name; }
    CError run() const
    {
        KOR_TRY(deepest());
        return {};
    }
    CStringBuf name = "plugin.eq";
};

std::string withoutLineNumber(const std::string& line)
{
    const std::size_t open = line.find("( ");
    const std::size_t close = line.find(" )");
    const std::string number = line.substr(open + 2, close - open - 2);
    EXPECT_GT(std::atoi(number.c_str()), 0) << line;
    return line.substr(0, open + 2) + "N" + line.substr(close);
}

}

TEST(Error, TracesFromTheDeepestFailureUpwards)
{
    CError error = CNamed().run();
    ASSERT_TRUE(error);
    ASSERT_EQ(error.lineCount(), 2);
    // Arguments are put in as they are: the "%1" inside one is not an argument again.
    EXPECT_EQ(withoutLineNumber(error.line(0)), "testError.cpp( N ) // Item x%1 of 5 (2.5%%)");
    EXPECT_EQ(withoutLineNumber(error.line(1)), "testError.cpp( N ) // plugin.eq");
    EXPECT_EQ(error.message(), "Item x%1 of 5 (2.5%%)");
    EXPECT_EQ(error.text(), error.line(0) + "\n" + error.line(1) + "\n");
    EXPECT_EQ(error.line(2), "");
    EXPECT_EQ(error.line(-1), "");

    CError moved = std::move(error);
    EXPECT_TRUE(moved);
    moved.ignore();
    EXPECT_FALSE(moved);
    EXPECT_EQ(moved.lineCount(), 0);
    EXPECT_EQ(moved.message(), "");
}

struct MessageCase
{
    const char* message;
    const char* expected;
};

TEST(Error, LineHasContextAndMessageWithoutKey)
{
    const MessageCase cases[] = {
        {"@korstr_CFileReader_open_failed Unable %1", "f.cpp( 7 ) // ui.win Unable arg"},
        {"@korstr_only", "f.cpp( 7 ) // ui.win"},
        {"Mail korstr_x@y %2", "f.cpp( 7 ) // ui.win Mail korstr_x@y %2"},     // no such argument: left as it stands
        {"100 %", "f.cpp( 7 ) // ui.win 100 %"},
        {"", "f.cpp( 7 ) // ui.win"},
    };
    for (const MessageCase& c : cases)
    {
        CError error;
        reportError(error, "/home/a b/f.cpp", 7, "ui.win", c.message, {"arg"});
        EXPECT_EQ(error.line(0), c.expected);
    }
}

}
