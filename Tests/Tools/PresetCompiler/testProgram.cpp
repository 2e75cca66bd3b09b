// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tools/TreeCompiler/SourceFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sys/wait.h>

using namespace kor;

namespace
{

/// The exit code of morva-preset inside the folder; what it says goes to err.txt.
int run(const CSourceFolder& folder, const std::string& arguments)
{
    const std::string command =
        "cd '" + folder.path("") + "' && " MORVA_PRESET " " + arguments + " > out.txt 2> err.txt";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(PresetProgram, MakesTheSameBytesEachTime)
{
    CSourceFolder folder;
    folder.write("a.txt", "bank \"B\"\npreset \"q7ne1:X\"\n  attack = 5 ms\npreset \"q7ne1:Y\" like \"q7ne1:X\"\n");
    ASSERT_EQ(run(folder, "a.txt a.cbf"), 0) << folder.read("err.txt");
    ASSERT_EQ(run(folder, "a.txt b.cbf"), 0);
    EXPECT_EQ(folder.read("a.cbf").substr(0, 4), "abnk");
    EXPECT_EQ(folder.read("a.cbf"), folder.read("b.cbf"));
    EXPECT_EQ(folder.read("err.txt") + folder.read("out.txt"), "");
}

TEST(PresetProgram, SaysWhereAMistakeIsAndLeavesTheOutputAlone)
{
    const struct
    {
        const char* arguments;
        int exitCode;
        const char* err;        // how it begins
    } rows[] = {
        {"bad.txt out", 1, "bad.txt:3: "},
        {"none.txt out", 1, "none.txt: cannot be read (No such file or directory)\n"},
        {". out", 1, ".: cannot be read (it is a directory)\n"},
        {"good.txt none/out", 1, "none/out: cannot be written (No such file or directory)\n"},
        {"good.txt", 2, "morva-preset: one source and one output expected, not 1 names (try --help)\n"},
        {"--typo good.txt out", 2, "morva-preset: unknown option '--typo' (try --help)\n"},
    };
    CSourceFolder folder;
    folder.write("bad.txt", "# a comment\npreset \"q7ne1:X\"\nattack = 5 apples\n");
    folder.write("good.txt", "preset \"q7ne1:X\"\n");
    folder.write("out", "before");
    for (const auto& row : rows)
    {
        EXPECT_EQ(run(folder, row.arguments), row.exitCode) << row.arguments;
        const std::string err = folder.read("err.txt");
        EXPECT_EQ(err.rfind(row.err, 0), 0u) << row.arguments << ": " << err;
        EXPECT_EQ(err.find('\n'), err.size() - 1) << row.arguments << ": " << err;
        EXPECT_EQ(folder.read("out"), "before") << row.arguments;
    }
}

}
