// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CError.h"
#include "Core/CStringBuf.h"

#include <gtest/gtest.h>

#include <regex>

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

}

TEST(Error, TracesFromTheDeepestFailureUpwards)
{
    CError error = CNamed().run();
    // Arguments are put in as they are: the "%1" inside one is not an argument again.
    EXPECT_EQ(error.message(), "Item x%1 of 5 (2.5%%)");
    EXPECT_EQ(std::regex_replace(error.text(), std::regex("\\( [1-9][0-9]* \\)"), "( N )"),
              "testError.cpp( N ) // Item x%1 of 5 (2.5%%)\ntestError.cpp( N ) // plugin.eq\n");
    EXPECT_EQ(error.line(2) + error.line(-1), "");

    CError moved = std::move(error);
    EXPECT_TRUE(moved);
    moved.ignore();
    EXPECT_FALSE(moved);
    EXPECT_EQ(moved.message(), "");
}

TEST(Error, LineHasContextAndMessageWithoutKey)
{
    const std::pair<const char*, const char*> cases[] = {
        {"@korstr_CFileReader_open_failed Unable %1", "f.cpp( 7 ) // ui.win Unable arg"},
        {"@korstr_only", "f.cpp( 7 ) // ui.win"},
        {"Mail korstr_x@y %2", "f.cpp( 7 ) // ui.win Mail korstr_x@y %2"},     // no such argument: left as it stands
        {"100 %", "f.cpp( 7 ) // ui.win 100 %"},
    };
    for (const auto& [message, expected] : cases)
    {
        CError error;
        reportError(error, "/home/a b/f.cpp", 7, "ui.win", message, {"arg"});
        EXPECT_EQ(error.line(0), expected);
    }
}

}
