// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/CTestTree.h"

namespace kor::test
{
namespace
{

// window (a=1 b=xa only-empty="") > panel (own=p) > knob; style beside them.
CTreeNode expansionTree()
{
    CTreeNode root;
    root.attrs = {{"top", "T"}};
    root.children = {
        {"core:object", "style", {{"set", "blue"}, {"title", "Style"}}},
        {"core:object", "window", {{"a", "1"}, {"b", "xa"}, {"xa", "found"}, {"k", "A"}, {"title", "Window"}},
         {{"core:object", "panel", {{"own", "p"}, {"braced", "{not"}}, {{"core:object", "knob"}}}}},
    };
    return root;
}

}

TEST(Expansion, OfOneValue)
{
    const std::pair<const char*, const char*> cases[] = {
        {"{?x}", "x"},
        {"{}", ""},
        {"{own}", "p"},
        {"{top}", "T"},
        {"{nothing}", ""},
        {"{nothing?d}", "d"},
        {"{nothing?a?b}", "a?b"},
        {"{@name}", "knob"},
        {"<{name}|{own}>", "<knob|p>"},
        {"{/^ own}", "p"},
        {"{@/^ top?d}", "d"},
        {"{@/^ own?d}", "p"},
        {"{/style set}", "blue"},
        {"{/nonexistent.path attr?z}", "z"},
        {"{/^ full-name}", "window.panel"},
        {"{/ own?d}", "d"},
        // nesting: the inner pair first
        {"{{b}}", "found"},
        {"{x{k?}c?no}", "no"},
        {"{x{nothing?a}}", "found"},
        {"{/{nothing?style} title}", "Style"},
        {"{nothing?{own}}", "p"},
        // results with braces are evaluated again, from the end
        {"{braced}hing?again}", "again"},
        {"{top}{own}", "Tp"},
        {"\xCE\xA9{own}", "\xCE\xA9p"},
        // lone braces stay
        {"a } b { c", "a } b { c"},
        {"{own} {", "{own} {"},
        {"} {own}", "} p"},
    };
    CTestTree tree(expansionTree());
    CObject& knob = tree.at("window.panel.knob");
    int number = 0;
    for (const auto& [value, result] : cases)
    {
        // A value looks through to what stood there, so each case has an attribute of its own.
        const CStringBuf name = "v"_s + CStringBuf::fromInt(number++);
        EXPECT_TRUE(succeeded(knob.setAttrString(name, CStringBuf::fromUtf8(value), false)));
        EXPECT_EQ(tree.attr("window.panel.knob", name.narrow()), result) << value;
    }
    EXPECT_TRUE(succeeded(knob.setAttrString("n", "{a}2", false)));
    EXPECT_EQ(knob.findAttr("n")->type(), CAttrValue::Type::integer);
}

TEST(Expansion, OwnNameLooksThroughToWhatStoodThere)
{
    CTestTree tree(expansionTree());
    CObject& knob = tree.at("window.panel.knob");
    const std::pair<const char*, const char*> steps[] = {
        {"{?none}", "Window"},                              // inherited
        {"My {}", "My Window"},                             // now its own
        {"{?none}!", "My Window!"},
        {"{/style?none}", "Style"},
        {"{@/^?none}", "none"},
        {"{@?none}", "none"},
    };
    for (const auto& [value, title] : steps)
    {
        EXPECT_TRUE(succeeded(knob.setAttrString("title", value, false)));
        EXPECT_EQ(knob.getAttrString("title").toUtf8(), title) << value;
    }
}

TEST(Expansion, EndsWhereItWouldRunForever)
{
    CTestTree tree;
    CObject& root = tree.root();
    // Plain text would not be evaluated; an unclosed brace is stored as it is and closes only where it is taken in.
    EXPECT_TRUE(succeeded(root.setAttrString("loop", "{loop", false)));
    EXPECT_TRUE(succeeded(root.setAttrString("v", "{loop}}", false)));
    EXPECT_EQ(tree.attr("/", "v"), "{loop");

    CObject* child = nullptr;
    EXPECT_TRUE(succeeded(root.addChild(child, "core:object", "c", false)));
    // Each step doubles the text: must stop at 64 KB.
    EXPECT_TRUE(succeeded(root.setAttrString("grow", "{grow", false)));
    std::string closing(2000, '}');
    EXPECT_TRUE(succeeded(child->setAttrString("many", CStringBuf("{loop" + closing), false)));
    EXPECT_LE(child->getAttrString("many").length(), 65536);

    std::string pairs;
    for (int i = 0; i < 1500; ++i)
        pairs += "{top}";
    EXPECT_TRUE(succeeded(root.setAttrString("top", "T", false)));
    EXPECT_TRUE(succeeded(child->setAttrString("pairs", CStringBuf(pairs), false)));
    // 1,000 steps from the end; the first 500 pairs stay.
    EXPECT_EQ(child->getAttrString("pairs").length(), 500 * 5 + 1000);

    EXPECT_TRUE(succeeded(root.setAttrString("big", CStringBuf(std::string(40000, 'x')), false)));
    EXPECT_TRUE(succeeded(child->setAttrString("huge", "{big}{big}", false)));
    EXPECT_EQ(child->getAttrString("huge").length(), 40005);
}

}
