// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/CTestTree.h"

namespace kor::test
{
namespace
{

class COther : public CObject
{
};

// a (x, y (leaf)), three p, q at 5 and 9, and two shortcuts; the shared tree has is.knob.
CTreeNode pathTree()
{
    const CTreeNode leaf{"core:object", "leaf"};
    CTreeNode root;
    root.children = {
        {"core:object", "a", {}, {{"core:object", "x"}, {"core:object", "y", {}, {leaf}}}},
        {"core:object", "p"},
        {"core:object", "p"},
        {"core:object", "p"},
        {"core:object", "q#5"},
        {"core:object", "q#9"},
        {"core:shortcut", "s", {}, {{"core:object", "toY", {{"target", "a.y"}}},
                                    {"core:object", "relative", {{"target", "^^a"}}},
                                    {"core:object", "nowhere"}}},
    };
    return root;
}

CTreeNode sharedTree()
{
    CTreeNode root;
    root.children = {{"core:object", "is", {}, {{"core:object", "knob"}}}};
    return root;
}

std::string nameAt(CObject& from, const char* path)
{
    const CObject* found = from.findObject(path);
    return found == nullptr ? "null" : found->root() == found ? "root" : found->fullName().toUtf8();
}

}

TEST(ObjectPath, LeadsToTheObject)
{
    struct Case
    {
        const char* from;
        const char* path;
        const char* found;
    };
    const Case cases[] = {
        {"a.y", "", "null"},
        {"a.y", "a.x", "a.x"},
        {"a.y", ".leaf", "a.y.leaf"},
        {"a.y", "leaf", "null"},
        {"a.y", "^x", "a.x"},
        {"a.y", "^", "a"},
        {"a.y", "^^", "root"},
        {"a.y", "^^^", "null"},
        {"a.y", "^^p", "p"},
        {"a.y", ".", "a.y"},
        {"a.y", "/a.x", "a.x"},
        {"a.y", ".leaf/a", "a"},
        {"a.y", "a..x", "a.x"},
        {"a.y", "shared::is.knob", "is.knob"},
        {"a.y", "shared::a", "null"},
        {"a.y", "shared::", "root"},
        // a name's "#" forms; the p are p, p#1, p#2
        {"a", "p#0", "p"},
        {"a", "p#1", "p#1"},
        {"a", "p#3", "null"},
        {"a", "p#", "p#2"},
        {"a", "p#-0", "p#2"},
        {"a", "p#+0", "p"},
        {"a", "p#+1", "p#1"},
        {"a", "p#-2", "p"},
        {"a", "p#-3", "null"},
        {"a", "p#+3", "null"},
        {"a", "p#x", "null"},
        {"a", "p#+-1", "null"},
        {"a", "p#0x2", "p#2"},
        {"a", "q", "q#5"},
        {"a", "q#", "q#9"},
        {"a", "q#+1", "q#9"},
        {"a", "q#0", "null"},
        // children of a shortcut stand for their target
        {"a", "s.toY.leaf", "a.y.leaf"},
        {"a", "s.relative.x", "a.x"},
        {"a", "s.nowhere", "null"},
    };
    CTestTree tree(sharedTree(), pathTree());
    for (const Case& c : cases)
        EXPECT_EQ(nameAt(tree.at(c.from), c.path), c.found) << c.from << " -> " << c.path;
}

TEST(ObjectPath, FollowsTenShortcutsAndNoMore)
{
    CTreeNode shortcuts{"core:shortcut", "s"};
    for (int i = 1; i <= 11; ++i)
        shortcuts.children.push_back({"core:object", "n" + std::to_string(i),
                                      {{"target", i == 1 ? "a.y" : "s.n" + std::to_string(i - 1)}}});
    CTreeNode root = pathTree();
    root.children.back() = shortcuts;
    root.children.push_back({"core:shortcut", "ring", {}, {{"core:object", "r", {{"target", "ring.r"}}}}});
    CTestTree tree(root);
    EXPECT_EQ(nameAt(tree.root(), "s.n10.leaf"), "a.y.leaf");
    EXPECT_EQ(nameAt(tree.root(), "s.n11"), "null");
    EXPECT_EQ(nameAt(tree.root(), "ring.r"), "null");
}

TEST(ObjectPath, AbsoluteNameNeedsNoLastStep)
{
    const std::pair<const char*, const char*> cases[] = {
        {"^x", "a.x"},    {".new", "a.y.new"},  {"new", "new"}, {"/a.new", "a.new"}, {"^^new#3", "new#3"},
        {"s.toY", "a.y"}, {"b.c.d", "b.c.d"},   {"shared::new", "shared::new"},
        {"shared::is.new", "shared::is.new"},
    };
    CTestTree tree(sharedTree(), pathTree());
    for (const auto& [path, absolute] : cases)
    {
        CStringBuf full;
        tree.at("a.y").getFullPath(full, path);
        EXPECT_EQ(full.toUtf8(), absolute) << path;
    }
}

TEST(ObjectPath, NamesOfChildren)
{
    CTestTree tree;
    const auto expectNames = [&tree](std::initializer_list<std::pair<const char*, const char*>> steps)
    {
        for (const auto& [asked, given] : steps)
        {
            CObject* child = nullptr;
            EXPECT_TRUE(succeeded(tree.root().addChild(child, "core:object", asked, false)));
            EXPECT_EQ(child->name().toUtf8(), given) << asked;
        }
    };
    expectNames({{"a", "a"}, {"a", "a#1"},
                 {"a#5", "a#5"}, {"a", "a#2"},          // free, so the counter stays
                 {"a#5", "a#3"},                        // taken, so the counter runs on
                 {"b#4", "b#4"}, {"b#4", "b#5"}, {"b", "b"}, {"", ""}, {"", "#1"},
                 {"top#2147483647", "top#2147483647"}, {"top#2147483647", "top"}});
    // A freed index comes back only if asked for, or if the counter has not passed it.
    CObject::destroy(tree.find("a#2"));
    expectNames({{"a", "a#4"}, {"a#2", "a#2"}});
}

TEST(ObjectPath, ChildIsFoundAfterItsNameAttributeChanged)
{
    CTestTree tree(pathTree());
    EXPECT_TRUE(succeeded(tree.at("a.x").setAttrString("name", "other", false)));
    CObject::destroy(tree.find("a.x"));
    EXPECT_EQ(tree.find("a.x"), nullptr);
}

TEST(ObjectPath, ChecksClassAndPresence)
{
    CTestTree tree(pathTree());
    CObject& from = tree.at("a.y");
    for (const auto& [name, path] : {std::pair("good", "^x"), std::pair("bad", "^z"), std::pair("empty", "")})
        EXPECT_TRUE(succeeded(from.setAttrString(name, path, false)));

    CObject* object = nullptr;
    COther* other = nullptr;
    EXPECT_EQ(from.findObjectChecked(object, "^z").message(), "Unable to find object '^z' ('a.z')");
    EXPECT_EQ(from.findObjectChecked(other, "^x").message(), "Incompatible type of object '^x' ('a.x')");
    EXPECT_TRUE(succeeded(from.findObjectByAttr(object, "good")));
    EXPECT_EQ(from.findObjectByAttr(object, "empty").message(), "Object name attribute 'empty' cannot be empty.");
    EXPECT_EQ(from.findObjectByAttr(object, "bad").message(),
              "Name attribute 'bad' refers to a non-existent object '^z' ('a.z')");
    EXPECT_EQ(from.findObjectByAttr(other, "good").message(),
              "Name attribute 'good' refers to object '^x' ('a.x') of incompatible type.");
    EXPECT_EQ(object, tree.find("a.x"));
    EXPECT_EQ(other, nullptr);
}

}
