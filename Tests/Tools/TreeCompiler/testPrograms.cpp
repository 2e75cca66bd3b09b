// SPDX-License-Identifier: GPL-3.0-or-later
#include "SourceFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sys/wait.h>

using namespace kor;

namespace
{

struct CRun
{
    int exitCode;
    std::string out;
    std::string err;
};

/// Runs a program of the build inside the folder.
CRun run(const CSourceFolder& folder, const std::string& command)
{
    const int status = std::system(
        ("cd '" + folder.path("") + "' && " + command + " > out.txt 2> err.txt").c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, folder.read("out.txt"), folder.read("err.txt")};
}

TEST(TreeProgram, WritesTreeAndDependencies)
{
    CSourceFolder folder;
    folder.write("part one.xml", "<tree><y/></tree>");
    folder.write("main.xml", "<tree><include file='part one.xml'/><include file='part one.xml'/></tree>");
    const CRun result = run(folder, MORVA_TREE " --types types.txt --depfile out.d main.xml out.tree");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_EQ(folder.read("out.d"), "out.tree: \\\n  types.txt \\\n  main.xml \\\n  part\\ one.xml\n");

    CCompiledTree tree;
    ASSERT_FALSE(compileTree(folder.path("main.xml"), folder.path("types.txt"), tree));
    EXPECT_EQ(folder.read("out.tree"), std::string(tree.bytes.begin(), tree.bytes.end()));
}

TEST(EmbedProgram, BytesComeBackFromTheCompiledTable)
{
    CSourceFolder folder;
    std::string all;
    for (int i = 0; i < 256; ++i)
        all += static_cast<char>(i);
    folder.write("all.bin", all + "7\"\\?\?/" + all);
    folder.write("empty.bin", "");
    ASSERT_EQ(run(folder, MORVA_EMBED " table.cpp ../a/all=all.bin Empty=empty.bin").exitCode, 0);

    // A stand-in for the header of the house, and a program that writes the table out again.
    folder.write("MorvaResources.h",
                 "namespace kor { struct CResourceEntry { const unsigned char* block; const char* name; }; }\n"
                 "extern const kor::CResourceEntry morvaResources[];\n");
    folder.write("print.cpp", R"(#include "MorvaResources.h"
#include <cstdio>
int main()
{
    for (const kor::CResourceEntry* e = morvaResources; e->block != nullptr; ++e)
    {
        const unsigned char* b = e->block;
        const unsigned size = b[0] | b[1] << 8 | b[2] << 16 | static_cast<unsigned>(b[3]) << 24;
        std::printf("%s %u:", e->name, size);
        std::fwrite(b + 4, 1, size, stdout);
    }
})");
    const CRun compiler =
        run(folder, MORVA_COMPILER " -std=c++20 -Wall -Wextra -Werror -I. table.cpp print.cpp -o print");
    ASSERT_EQ(compiler.exitCode, 0) << compiler.err;
    EXPECT_EQ(run(folder, "./print").out, "../a/all 518:" + all + "7\"\\?\?/" + all + "Empty 0:");
}

TEST(Programs, RefuseInOneLineAndLeaveTheOutputAsItWas)
{
    struct Case
    {
        const char* command;
        int exitCode;
        const char* err;
    };
    const Case cases[] = {
        {MORVA_TREE " --types types.txt bad.xml out", 1,
         "bad.xml:2: unknown object type 'w' (neither a type nor a template seen from here)\n"},
        {MORVA_TREE " --types none.txt good.xml out", 1, "none.txt: cannot be read (No such file or directory)\n"},
        {MORVA_TREE " --types types.txt none.xml out", 1, "none.xml: cannot be read (No such file or directory)\n"},
        {MORVA_TREE " --types types.txt good.xml none/out", 1,
         "none/out: cannot be written (No such file or directory)\n"},
        {MORVA_TREE, 2, "morva-tree: --types is missing (try --help)\n"},
        {MORVA_TREE " --types types.txt good.xml", 2,
         "morva-tree: one source and one output expected, not 1 names (try --help)\n"},
        {MORVA_TREE " --typo types.txt good.xml out", 2, "morva-tree: unknown option '--typo' (try --help)\n"},
        {MORVA_EMBED " out a=good.xml b=none.bin", 1,
         "none.bin: cannot be embedded (No such file or directory)\n"},
        {MORVA_EMBED " out a=.", 1, ".: cannot be embedded (it is a directory)\n"},
        {MORVA_EMBED " out types.txt", 2, "morva-embed: 'types.txt' is not of the form NAME=FILE (try --help)\n"},
        {MORVA_EMBED " out a=types.txt a=types.txt", 2, "morva-embed: the name 'a' is given twice (try --help)\n"},
    };
    CSourceFolder folder;
    folder.write("bad.xml", "<tree>\n<w/></tree>");
    folder.write("good.xml", "<tree/>");
    folder.write("out", "before");
    for (const Case& c : cases)
    {
        const CRun result = run(folder, c.command);
        EXPECT_EQ(result.exitCode, c.exitCode) << c.command;
        EXPECT_EQ(result.err, c.err) << c.command;
        EXPECT_EQ(folder.read("out"), "before") << c.command;
    }
}

}
