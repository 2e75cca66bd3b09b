// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/CTestTree.h"

namespace kor::test
{
namespace
{

/// Writes down what reaches it, in one list for all objects of a test.
class CFollower : public CObject
{
public:
    static void initClass(CObjectClassInfo& info)
    {
        CObject::initClass(info);
        info.addAttr("v", attrMethod<&CFollower::onValue>);
        info.addAttr("kill", attrMethod<&CFollower::onKill>);
        info.addAttr("refuse", attrMethod<&CFollower::onRefuse>);
    }

    CError onValue(CAttrValue& value)
    {
        log += name().toUtf8() + "=" + value.asString().toUtf8() + " ";
        return {};
    }

    CError onKill(CAttrValue& value)
    {
        destroy(findObject(value.asString()));
        return {};
    }

    CError onRefuse(CAttrValue&) { return KOR_FAIL("Refused."); }

    static inline std::string log;
};

class LiveLinks : public testing::Test
{
protected:
    LiveLinks()
    {
        addTestType(creatorRow<CFollower>("test:follower"));
        CFollower::log.clear();
    }

    static std::string taken() { return std::exchange(CFollower::log, {}); }
};

CTreeNode follower(const char* name, const char* value)
{
    return {"test:follower", name, {{"v", value}}};
}

void set(CTestTree& tree, const char* path, const char* name, const char* value)
{
    EXPECT_TRUE(succeeded(tree.at(path).setAttrString(name, value, true)));
}

}

TEST_F(LiveLinks, FindTheirSourceAndFollowIt)
{
    CTreeNode root;
    root.children = {
        {"core:object", "near", {{"x", "far"}}},
        {"core:object", "box", {{"x", "box"}}, {
            {"core:object", "near", {{"x", "close"}}},
            {"core:object", "near", {{"x", "second"}}},
            {"core:object", "inner", {}, {follower("byName", "{*near x}"), follower("byPath", "{*/^^ x}"),
                                          follower("mixed", "<{*/near x}>"), follower("absent", "{*near none}"),
                                          follower("oneWord", "{*near}"), follower("noSource", "{*gone x}"),
                                          follower("self", "{*/. w}"), follower("scheme", "{*near scheme}")}},
        }},
    };
    CTestTree tree(root);
    EXPECT_EQ(tree.loadFailure(), "");
    EXPECT_EQ(taken(), "byName=close byPath=box mixed=<far> absent= oneWord= noSource= self= scheme= ");

    set(tree, "box.near", "x", "new");
    set(tree, "near", "x", "n");
    set(tree, "box.near", "none", "appears");
    set(tree, "box.near", "scheme", "later");
    set(tree, "box.inner.self", "w", "own");
    set(tree, "box.near", "x", "{?x}{/near x}");
    EXPECT_EQ(taken(), "byName=new mixed=n absent=appears scheme=later byName=newn ");
}

TEST_F(LiveLinks, ForwardInOrderOfCreationAndOn)
{
    CTreeNode root;
    root.children = {{"core:object", "s", {{"x", "0"}}}};
    for (const char* name : {"c", "a", "b"})
        root.children.push_back(follower(name, "{*s x}"));
    root.children.push_back(follower("next", "{*a v}"));
    CTestTree tree(root);
    taken();
    set(tree, "s", "x", "1");
    EXPECT_EQ(taken(), "c=1 a=1 next=1 b=1 ");
}

TEST_F(LiveLinks, RingsComeToRest)
{
    CTestTree tree;
    for (const char* name : {"a", "b", "c"})
    {
        CObject* made = nullptr;
        EXPECT_TRUE(succeeded(tree.root().addChild(made, "test:follower", name, false)));
    }
    set(tree, "a", "v", "{*/c v}");
    set(tree, "b", "v", "{*/a v}");
    set(tree, "c", "v", "{*/b v}");
    taken();
    set(tree, "b", "v", "7");
    EXPECT_EQ(taken(), "b=7 c=7 a=7 ");
    set(tree, "b", "v", "8");       // the mark of the first round is gone
    EXPECT_EQ(taken(), "b=8 c=8 a=8 ");
}

TEST_F(LiveLinks, LongChainsFailInsteadOfEatingTheStack)
{
    CTestTree tree;
    CObject* made = nullptr;
    EXPECT_TRUE(succeeded(tree.root().addChild(made, "core:object", "o", false)));
    for (int i = 1; i < 5000; ++i)
    {
        EXPECT_TRUE(succeeded(tree.root().addChild(made, "core:object", "o", false)));
        const CStringBuf before = i == 1 ? "o"_s : "o#"_s + CStringBuf::fromInt(i - 1);
        EXPECT_TRUE(succeeded(made->setAttrString("x", "{*/"_s + before + " x}", true)));
    }
    EXPECT_TRUE(succeeded(tree.at("o#4500").setAttrString("x", "1", true)));
    EXPECT_EQ(made->getAttrInt("x"), 1);
    EXPECT_EQ(tree.at("o").setAttrString("x", "2", true).message(),
              "Attribute 'x' is linked through too many objects.");
}

TEST_F(LiveLinks, FollowerOfAllAttributesTakesEachUnderItsName)
{
    CTreeNode root;
    root.children = {{"core:object", "s"}, follower("f", "")};
    CTestTree tree(root);
    taken();
    tree.at("f").followAllAttrs(tree.at("s"));
    set(tree, "s", "v", "1");
    set(tree, "s", "w", "2");
    EXPECT_EQ(taken(), "f=1 ");
    EXPECT_EQ(tree.attr("f", "w"), "2");
    tree.at("f").unfollow(tree.at("s"));
    set(tree, "s", "v", "3");
    EXPECT_EQ(taken(), "");
}

TEST_F(LiveLinks, EndWithEitherObject)
{
    CTreeNode root;
    root.children = {{"core:object", "s", {{"x", ""}}}, {"test:follower", "a", {{"kill", "{*s x}"}}},
                     follower("b", "{*s x}"), follower("c", "{*s x}")};
    CTestTree tree(root);
    taken();
    // The handler of the first follower destroys the second in the middle of the forwarding.
    set(tree, "s", "x", "b");
    EXPECT_EQ(tree.find("b"), nullptr);
    EXPECT_EQ(taken(), "c=b ");
    CObject::destroy(tree.find("s"));
    set(tree, "c", "v", "2");
    EXPECT_EQ(taken(), "c=2 ");
}

TEST_F(LiveLinks, FailureOfAFollowerReachesTheSetter)
{
    CTreeNode root;
    root.children = {{"core:object", "s", {{"x", "0"}}}};
    CTestTree tree(root);
    CObject* made = nullptr;
    EXPECT_TRUE(succeeded(tree.root().addChild(made, "test:follower", "f", false)));
    EXPECT_TRUE(succeeded(made->setAttrString("refuse", "{*s x}", false)));
    EXPECT_EQ(tree.at("s").setAttrString("x", "1", true).message(), "Refused.");
    EXPECT_EQ(tree.attr("s", "x"), "1");
}

TEST_F(LiveLinks, ToTheFrozenSharedTreeTakeTheValueOnce)
{
    CTreeNode shared;
    shared.children = {{"core:object", "s", {{"x", "7"}, {"y", "text"}}},
                       {"core:object", "inside", {{"z", "{*s x}{/shared::s y}"}}}};
    CTreeNode root;
    root.children = {follower("f", "{*/shared::s x}"), follower("g", "{/shared::s y}")};
    CTestTree tree(shared, root);
    EXPECT_EQ(taken(), "f=7 g=text ");
    CObject& source = *tree.find("shared::s");
    EXPECT_EQ(tree.find("shared::inside")->getAttrString("z"), "7text"_s);
    // What the tree refuses needs no forwarding.
    EXPECT_TRUE(succeeded(source.setAttrString("x", "8", true)));
    EXPECT_EQ(source.getAttrInt("x"), 7);
    EXPECT_EQ(taken(), "");
    CObject* child = nullptr;
    EXPECT_TRUE(static_cast<bool>(source.addChild(child, "core:object", "c", false)));
    tree.at("f").followAllAttrs(source);
}

}
