// SPDX-License-Identifier: GPL-3.0-or-later
#include "HostFixture.h"
#include "Support/CTreeBytes.h"

namespace kor::test
{

namespace
{

using TreeList = HostTest;

// A tree with all that the format has: a template with a child, an expression, an odd name, a deep node.
std::string sampleTree()
{
    const CTreeNode root = {
        "", "", {{"top", "1"}},
        {{"core:object", "a", {{"x", "{1+1}"}, {"text", "two\nlines"}}, {{"t:leaf", "b", {}, {}, ""}}, ""},
         {"", "shape", {{"colour", "red"}}, {{"t:edge", "e", {}, {}, ""}}, "t:base"},
         {"core:object", "", {}, {}, ""}},
        ""};
    const CTreeBytes::CBytes bytes = CTreeBytes::of(root);
    return {bytes.begin(), bytes.end()};
}

}

TEST_F(TreeList, WritesEveryObjectOfAFileAsItStands)
{
    writeBytes(path("x.tree"), sampleTree());
    const CRun run = runHost({"tree", path("x.tree")});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.out, "  top=\"1\"\n"
                       "core:object a  x=\"{1+1}\" text=\"two\\nlines\"\n"
                       "  t:leaf b\n"
                       "template shape of t:base  colour=\"red\"\n"
                       "  t:edge e\n"
                       "core:object\n");
    EXPECT_EQ(runHost({"tree", path("x.tree"), "shape"}).out, "template shape of t:base  colour=\"red\"\n  t:edge e\n");
}

TEST_F(TreeList, FindsObjectsOfTheSharedTree)
{
    const CRun all = runHost({"tree"});
    EXPECT_EQ(all.code, 0) << all.err;
    EXPECT_NE(all.out.find("core:object project  app-name=\"MorvaEQ\""), std::string::npos);
    const CRun bands = runHost({"tree", "audio.morvafilters"});
    EXPECT_EQ(bands.out.rfind("audio:fltgen-array morvafilters\n  audio:fltgen-array-item 0  ", 0), 0u) << bands.out;
    EXPECT_EQ(std::count(bands.out.begin(), bands.out.end(), '\n'), 20);
    EXPECT_EQ(runHost({"tree", "shared::audio.morvafilters"}).out, bands.out);
}

TEST_F(TreeList, RefusesWhatIsNotThere)
{
    for (const auto& [path, text] : {std::pair{"audio.nothing", "'audio' has no child 'nothing'"},
                                     std::pair{"nothing", "no object 'nothing'"},
                                     std::pair{"/no/such.tree", "no/such.tree"}})
    {
        const CRun run = runHost({"tree", path});
        EXPECT_EQ(run.code, 1) << path;
        EXPECT_NE(run.err.find(text), std::string::npos) << run.err;
        EXPECT_EQ(run.errorLines(), 1) << run.err;
        EXPECT_EQ(run.out, "");
    }
}

// An end in order, with one line or a listing, never a crash (the sanitizer builds look closer).
TEST_F(TreeList, BearsDamagedFiles)
{
    const std::string whole = sampleTree();
    for (std::size_t at = 0; at < whole.size(); at += 9)
    {
        writeBytes(path("cut.tree"), whole.substr(0, at));
        const CRun cut = runHost({"tree", path("cut.tree")});
        EXPECT_TRUE(cut.code == 1 && cut.errorLines() == 1) << "cut at " << at << ": " << cut.err;
        std::string damaged = whole;
        damaged[at] = static_cast<char>(damaged[at] ^ 0xFF);
        writeBytes(path("x.tree"), damaged);
        const CRun run = runHost({"tree", path("x.tree")});
        EXPECT_TRUE(run.code == 0 || (run.code == 1 && run.errorLines() == 1)) << "byte " << at << ": " << run.err;
    }
}

TEST_F(TreeList, EveryCommandHasHelp)
{
    for (const char* command : {"render", "curve", "info", "tree"})
    {
        EXPECT_NE(runHost({command, "--help"}).out.find(std::string("usage: morvahost ") + command), std::string::npos);
        EXPECT_NE(runHost({"--help"}).out.find(std::string("  ") + command), std::string::npos);
    }
}

}
