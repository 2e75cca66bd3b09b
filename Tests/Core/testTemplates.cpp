// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/CTestTree.h"

namespace kor::test
{
namespace
{

/// Writes down its start stages; fails the one that its attribute "fail-in" names.
class CStaged : public CObject
{
public:
    CStaged() { ++alive; }
    ~CStaged() override { --alive; }

    static void initClass(CObjectClassInfo& info)
    {
        CObject::initClass(info);
        info.addAttr("handled", attrMethod<&CStaged::onHandled>);
    }

    CError init() override
    {
        KOR_TRY(CObject::init());
        return stage("init");
    }

    CError initAttrs() override
    {
        KOR_TRY(CObject::initAttrs());
        return stage("attrs");
    }

    CError initChilds() override
    {
        KOR_TRY(CObject::initChilds());
        return stage("childs");
    }

    CError onChildAdded(CObject& child) override
    {
        KOR_TRY(CObject::onChildAdded(child));
        if (getAttrString("refuse") == child.name())
            return KOR_FAIL("Not this child.");
        return {};
    }

    void uninit() override
    {
        log += "-" + name().toUtf8() + " ";
        CObject::uninit();
    }

    CError onHandled(CAttrValue& value)
    {
        log += name().toUtf8() + "=" + value.asString().toUtf8() + " ";
        return {};
    }

    CError stage(const char* which)
    {
        log += name().toUtf8() + "." + which + std::to_string(children().size()) + " ";
        if (getAttrString("fail-in").equals(which))
            return KOR_FAIL("Failed in %1.", which);
        return {};
    }

    static inline std::string log;
    static inline int alive = 0;
};

class COtherType : public CObject
{
};

class Templates : public testing::Test
{
protected:
    Templates()
    {
        addTestType(creatorRow<CStaged>("test:staged"));
        CStaged::log.clear();
    }

    static std::string taken() { return std::exchange(CStaged::log, {}); }
};

// Template "t" (base test:staged): attributes a, b, c=false; a child with a template of its own.
CTreeNode templateT()
{
    return {"template",
            "t",
            {{"a", "body"}, {"b", "body"}, {"c", "false"}, {"where", "{full-name}"}},
            {{"test:staged", "kid", {{"k", "{a}"}}}, {"template", "inner", {{"deep", "1"}}, {}, "test:staged"}},
            "test:staged"};
}

}

TEST_F(Templates, StagesRunNodeByNode)
{
    CTreeNode root;
    root.children = {{"test:staged", "p", {{"handled", "x"}}, {{"test:staged", "c1"}, {"test:staged", "c2"}}}};
    {
        CTestTree tree(root);
        EXPECT_EQ(taken(), "p.init0 p=x p.attrs0 c1.init0 c1.attrs0 c1.childs0 c2.init0 c2.attrs0 c2.childs0 "
                           "p.childs2 ");
    }
    EXPECT_EQ(taken(), "-p -c2 -c1 ");
    EXPECT_EQ(CStaged::alive, 0);
}

TEST_F(Templates, BodyStaysUnparsedUntilInstantiated)
{
    CTreeNode root;
    root.children = {templateT()};
    CTestTree tree(root);
    EXPECT_EQ(taken(), "");
    EXPECT_TRUE(tree.at("t").children().empty());
    EXPECT_FALSE(tree.at("t").hasAttr("a"));
    EXPECT_TRUE(tree.root().templateExists("t"));
    CObject::destroy(tree.find("t"));
    EXPECT_FALSE(tree.root().templateExists("t"));
}

TEST_F(Templates, InstanceTakesClassAttributesAndChildren)
{
    CTreeNode root;
    root.children = {templateT()};
    CTestTree tree(root);
    const CAttrMap early = {{"a", CAttrValue::ofString("early")}, {"c", CAttrValue::ofString("early")},
                            {"e", CAttrValue::ofString("early")}};
    const CAttrMap late = {{"b", CAttrValue::ofString("late")}, {"copy", CAttrValue::ofString("{a}")}};
    CStaged* made = nullptr;
    ASSERT_TRUE(succeeded(tree.root().createChild(made, "t", "i", true, &late, &early)));
    EXPECT_EQ(taken(), "i.init0 kid.init0 kid.attrs0 kid.childs0 i.attrs2 i.childs2 ");
    const std::pair<const char*, const char*> attrs[] = {
        {"name", "i"}, {"a", "body"}, {"b", "late"}, {"c", "false"}, {"e", "early"}, {"copy", "body"}, {"where", "i"},
    };
    for (const auto& [name, value] : attrs)
        EXPECT_EQ(tree.attr("i", name), value) << name;
    EXPECT_EQ(made->tag(), "t"_s);
    EXPECT_EQ(made->templateSource(), tree.find("t"));
    EXPECT_EQ(tree.attr("i.kid", "k"), "body");

    // The template inside of the body is there for this instance and below.
    EXPECT_FALSE(tree.root().templateExists("inner"));
    CStaged* nested = nullptr;
    ASSERT_TRUE(succeeded(tree.at("i.kid").createChild(nested, "inner", "n", true)));
    EXPECT_EQ(nested->getAttrInt("deep"), 1);

    // A neutral value of the body creates no attribute where none was given.
    CStaged* plain = nullptr;
    ASSERT_TRUE(succeeded(tree.root().createChild(plain, "t", "i", true)));
    EXPECT_FALSE(plain->hasAttr("c"));
    EXPECT_EQ(plain->fullName(), "i#1"_s);
}

TEST_F(Templates, AreFoundUpwardsAndInTheSharedTree)
{
    CTreeNode shared;
    shared.children = {{"template", "t", {{"from", "shared"}}, {}, "core:object"},
                       {"template", "s", {{"from", "shared"}}, {}, "core:object"}};
    CTreeNode root;
    root.children = {{"template", "t", {{"from", "root"}}, {}, "core:object"},
                     {"core:object", "in", {}, {{"core:object", "deep"}}},
                     // A template may have the name of a type: then it gives that type's defaults.
                     {"template", "test:staged", {{"from", "defaults"}}, {}, "test:staged"}};
    CTestTree tree(shared, root);
    CObject* made = nullptr;
    for (const auto& [tag, from] : {std::pair("t", "root"), std::pair("s", "shared"),
                                    std::pair("test:staged", "defaults"), std::pair("core:object", "")})
    {
        ASSERT_TRUE(succeeded(tree.at("in.deep").createChild(made, tag, "x", false)));
        EXPECT_EQ(made->getAttrString("from").toUtf8(), from) << tag;
    }
    EXPECT_EQ(tree.at("in").createChild(made, "core:object", "x", true).message(),
              "Run-time template 'core:object' does not exist.");
}

TEST_F(Templates, ChildOfAWrongClassOrRefusedByItsParentIsDestroyed)
{
    CTreeNode root;
    root.children = {{"test:staged", "p", {{"refuse", "x"}}}};
    CTestTree tree(root);
    taken();
    COtherType* other = nullptr;
    EXPECT_EQ(tree.at("p").createChild(other, "test:staged", "y", false).message(),
              "Object of invalid class created (child tag 'test:staged', child name 'y').");
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(taken(), "-y ");
    CStaged* made = nullptr;
    EXPECT_EQ(tree.at("p").createChild(made, "test:staged", "x", false).message(), "Not this child.");
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(tree.find("p.x"), nullptr);
    EXPECT_TRUE(tree.at("p").children().empty());
}

TEST_F(Templates, FailureInAnyStageDestroysTheChild)
{
    for (const char* stage : {"init", "attrs", "childs"})
    {
        const CTreeNode failing{"test:staged", "bad", {{"fail-in", stage}}, {{"test:staged", "kid"}}};
        CTreeNode root;
        root.children = {{"template", "t", failing.attrs, failing.children, "test:staged"}};
        {
            CTestTree tree(root);
            CStaged* made = nullptr;
            EXPECT_EQ(tree.root().createChild(made, "t", "bad", true).message(),
                      std::string("Failed in ") + stage + ".");
            EXPECT_EQ(tree.find("bad"), nullptr);
            EXPECT_EQ(made, nullptr);
        }
        root.children = {{"core:object", "p", {}, {failing}}};
        {
            CTestTree tree(root);
            EXPECT_NE(tree.loadFailure().find(std::string("Failed in ") + stage), std::string::npos);
        }
        EXPECT_EQ(CStaged::alive, 0) << stage;
    }
}

}
