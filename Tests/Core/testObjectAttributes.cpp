// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/CTestTree.h"

#include <limits>

namespace kor::test
{
namespace
{

using Type = CAttrValue::Type;

/// Every representation of a value, failed ones marked.
std::string describe(const CAttrValue& value)
{
    const char* const types[] = {"bool", "double", "int", "string", "?", "empty"};
    bool ok = false;
    const bool flag = value.asBool(ok);
    std::string text = types[static_cast<int>(value.type())] + std::string(ok ? flag ? " true" : " false" : " -");
    const std::int32_t number = value.asInt(ok);
    text += " " + (ok ? std::to_string(number) : "-");
    const double real = value.asDouble(ok);
    text += " " + (ok ? CStringBuf::fromDouble(real).toUtf8() : "-");
    return text + " '" + value.asString().toUtf8() + "'";
}

/// Remembers in which order its attributes' handlers ran.
class CHandled : public CObject
{
public:
    static void initClass(CObjectClassInfo& info)
    {
        CObject::initClass(info);
        info.addAttr("first", &CHandled::note<'1'>);
        info.addAttr("second", &CHandled::note<'2'>);
    }

    template <char mark>
    static CError note(CObject& object, CAttrValue& value)
    {
        static_cast<CHandled&>(object).ran += mark + value.asString().toUtf8() + " ";
        return {};
    }

    std::string ran;
};

}

TEST(AttrValue, TextGivesTypeAndRepresentations)
{
    const std::pair<const char*, const char*> cases[] = {
        {"-3", "int true -3 -3 '-3'"},
        {"0", "int false 0 0 '0'"},
        {"2147483647", "int true 2147483647 2147483647 '2147483647'"},
        {"-2147483648", "int true -2147483648 -2147483648 '-2147483648'"},
        {"2147483648", "string - - 2147483648 '2147483648'"},
        {"007", "string - 7 7 '007'"},
        {"-0", "string - 0 -0 '-0'"},
        {"0x10", "string - 16 - '0x10'"},
        {"-1,25", "string - - -1.25 '-1,25'"},
        {" 1", "string - - - ' 1'"},
        {"", "empty false 0 0 ''"},
        {"true", "bool true 1 - 'true'"},
        {"false", "bool false 0 - 'false'"},
        {"True", "string - - - 'True'"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(describe(CAttrValue::ofString(text)), expected);
}

TEST(AttrValue, NumbersGiveRepresentations)
{
    const std::pair<CAttrValue, const char*> cases[] = {
        {CAttrValue::ofDouble(-2.5), "double - -3 -2.5 '-2.5'"},
        {CAttrValue::ofDouble(0.49999999999999994), "double - 0 0.49999999999999994 '0.49999999999999994'"},
        {CAttrValue::ofDouble(2147483647.4), "double - 2147483647 2147483647.4 '2147483647.4'"},
        {CAttrValue::ofDouble(2147483647.5), "double - - 2147483647.5 '2147483647.5'"},
        {CAttrValue(), "empty false 0 0 ''"},
    };
    for (const auto& [value, expected] : cases)
        EXPECT_EQ(describe(value), expected);
    for (const double unfit : {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()})
    {
        bool ok = true;
        EXPECT_EQ(CAttrValue::ofDouble(unfit).asInt(ok), 0);
        EXPECT_FALSE(ok);
    }
}

TEST(AttrValue, NewValueForgetsOldRepresentations)
{
    CAttrValue value = CAttrValue::ofString("text");
    value.asString();
    value.setInt(5);
    EXPECT_EQ(describe(value), "int true 5 5 '5'");
    value.setDouble(1.25);
    EXPECT_EQ(describe(value), "double - 1 1.25 '1.25'");
    value.setString(value.asString());
    EXPECT_EQ(describe(value), "string - - 1.25 '1.25'");
    const CAttrValue copy = value;
    value.setString("");
    EXPECT_EQ(describe(copy), "string - - 1.25 '1.25'");
    EXPECT_EQ(describe(value), "empty false 0 0 ''");
}

TEST(ObjectAttributes, MissingAndUnreadableAreNeutral)
{
    CTestTree tree;
    CObject& root = tree.root();
    EXPECT_TRUE(succeeded(root.setAttrString("word", "abc", false)));
    for (const char* name : {"absent", "word"})
    {
        EXPECT_FALSE(root.getAttrBool(name));
        EXPECT_EQ(root.getAttrInt(name), 0);
        EXPECT_EQ(root.getAttrDouble(name), 0.0);
    }
    EXPECT_EQ(root.getAttrString("absent"), ""_s);
    EXPECT_TRUE(succeeded(root.setAttrString("", "x", false)));
    EXPECT_FALSE(root.hasAttr(""));
}

TEST(ObjectAttributes, PendingHandlersRunLastSetFirst)
{
    CTestTree tree;
    addTestType(creatorRow<CHandled>("test:handled"));
    CObject* made = nullptr;
    ASSERT_TRUE(succeeded(tree.root().addChild(made, "test:handled", "h", false)));
    CHandled& object = static_cast<CHandled&>(*made);
    EXPECT_TRUE(succeeded(object.setAttrString("first", "a", false)));
    EXPECT_TRUE(succeeded(object.setAttrString("second", "b", false)));
    EXPECT_TRUE(succeeded(object.setAttrString("first", "c", false)));      // keeps its place in the list
    EXPECT_TRUE(succeeded(object.setAttrString("unknown", "d", false)));
    EXPECT_EQ(object.ran, "");
    EXPECT_TRUE(succeeded(object.start()));
    EXPECT_EQ(object.ran, "2b 1c ");
    EXPECT_EQ(object.state(), 4);
    object.ran.clear();
    const CAttrMap map = {{"second", CAttrValue::ofInt(2)}, {"first", CAttrValue::ofInt(1)}};
    EXPECT_TRUE(succeeded(object.setAttrs(map, false)));
    EXPECT_TRUE(succeeded(object.setAttrs(CAttrMap{}, true)));
    EXPECT_EQ(object.ran, "22 11 ");    // set in key order, run in the opposite one
}

TEST(ObjectAttributes, ReadOnlyObjectIgnoresChangesAndRefusesChildren)
{
    // Without a shared tree, as while the process ends, a started object turns read-only.
    CObject* root = new CObject;
    root->makeRoot(nullptr);
    EXPECT_TRUE(succeeded(root->setAttrString("a", "1", false)));
    EXPECT_TRUE(succeeded(root->start()));
    EXPECT_TRUE(succeeded(root->setAttrString("a", "2", true)));
    EXPECT_TRUE(succeeded(root->setAttr("a", CAttrValue::ofInt(3), true)));
    EXPECT_TRUE(succeeded(root->setAttrPlain("a", "4", true)));
    EXPECT_EQ(root->getAttrInt("a"), 1);
    EXPECT_EQ(root->findObject("shared::a"), nullptr);
    CObject* child = nullptr;
    EXPECT_EQ(root->addChild(child, "core:object", "c", false).message(), "Error adding child to read-only object.");
    EXPECT_EQ(child, nullptr);
    CObject::destroy(root);
}

TEST(ObjectAttributes, PlainTextIsNeverExpanded)
{
    CTestTree tree;
    CObject* child = nullptr;
    EXPECT_TRUE(succeeded(tree.root().addChild(child, "core:object", "c", false)));
    EXPECT_TRUE(succeeded(tree.root().setAttrString("secret", "s", false)));
    EXPECT_TRUE(succeeded(tree.root().setAttrPlain("user", "{secret} 10{", true)));
    EXPECT_TRUE(succeeded(tree.root().setAttrPlain("number", "10", true)));

    EXPECT_EQ(tree.attr("/", "user"), "{secret} 10{");
    EXPECT_EQ(tree.root().findAttr("number")->type(), Type::integer);
    // Not where another value takes it in, not where a link carries it, and not on the way through a copy.
    EXPECT_TRUE(succeeded(child->setAttrString("quote", "<{user}> {secret}", true)));
    EXPECT_EQ(tree.attr("c", "quote"), "<{secret} 10{> s");
    EXPECT_TRUE(succeeded(child->setAttr("copy", *child->findAttr("quote"), true)));
    EXPECT_EQ(tree.attr("c", "copy"), "<{secret} 10{> s");
    EXPECT_TRUE(succeeded(child->setAttrString("follow", "{*/^ user}", true)));
    EXPECT_EQ(tree.attr("c", "follow"), "{secret} 10{");
    EXPECT_TRUE(succeeded(tree.root().setAttrPlain("user", "{name}", true)));
    EXPECT_EQ(tree.attr("c", "follow"), "{name}");
}

}
