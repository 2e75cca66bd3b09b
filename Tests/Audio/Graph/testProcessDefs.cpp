// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Graph/CAudioProcessBypassStateDef.h"
#include "Audio/Graph/CAudioProcessLinkDef.h"
#include "GraphTestKit.h"

namespace kor::test
{
namespace
{

CTreeNode linkOf(CAttrs attrs)
{
    return node("audio:process-link", "l", std::move(attrs));
}

CTreeNode stateOf(CAttrs attrs)
{
    return node("audio:process-bypass-state", "s", std::move(attrs));
}

}

TEST(ProcessDefs, BadAttributesStopTheLoadAndSayWhy)
{
    struct Case
    {
        CTreeNode child;
        const char* message; // null: loads
    };
    const Case cases[] = {
        {linkOf({{"src", "*/1"}, {"dst", "*/1"}, {"bypass-state-id", "0 1"}}), nullptr},
        {linkOf({{"dst", "b"}}), "No 'src' attribute defined."},
        {linkOf({{"src", "a"}}), "No 'dst' attribute defined."},
        {linkOf({{"src", "a"}, {"dst", "/"}}), "Invalid process in the 'dst' attribute value '/' specified."},
        {linkOf({{"src", "a/-1"}, {"dst", "b"}}), "Invalid port in the 'src' attribute value 'a/-1' specified."},
        {linkOf({{"src", "a"}, {"dst", "modEnv/x"}}),
         "Invalid port in the 'dst' attribute value 'modEnv/x' specified."},
        {linkOf({{"src", "a"}, {"dst", "b/2000000000"}}),
         "Invalid port in the 'dst' attribute value 'b/2000000000' specified."},
        {linkOf({{"src", "a"}, {"dst", "b"}, {"bypass-state-id", "0 x"}}), "Invalid state identifier 'x' specified."},
        {stateOf({{"id", "1"}, {"param", "p"}, {"range", "(0;1;0.5]"}}), nullptr},
        {stateOf({{"id", "1"}}), "Invalid parameter name specified."},
        {stateOf({{"param", "p"}, {"range", "[;]"}}), "Invalid 'range' attribute value '[;]' specified."},
        {stateOf({{"param", "p"}, {"range", "[0;x1]"}}), "Invalid 'range' attribute value '[0;x1]' specified."},
        {stateOf({{"param", "p"}, {"range", "[0;1;0]"}}), "Invalid 'range' attribute value '[0;1;0]' specified."},
        {stateOf({{"param", "p"}, {"and-param", "q"}, {"and-range", "[0;1;2;3]"}}),
         "Invalid 'and-range' attribute value '[0;1;2;3]' specified."},
        {gain("g", 1.0, {{"stack-index-shift", "-1"}}), "Invalid stack index shift value '-1' specified."},
    };
    for (const Case& c : cases)
    {
        CTreeNode main = process("main", {}, {c.child});
        main.children.push_back(node("core:object", "cvt", {}, {node("audio:cvt-real", "real")}));
        // Converters of the node above are looked for in the shared tree, which is empty here.
        if (!c.child.children.empty())
            main.children.front().children.clear();
        const std::string failure = failureOf(main);
        if (c.message == nullptr)
            EXPECT_EQ(failure, "");
        else
            EXPECT_NE(failure.find(c.message), std::string::npos) << "wanted: " << c.message << "\ngot: " << failure;
    }
}

TEST(ProcessDefs, BadGraphsFailWhenTheyAreMade)
{
    struct Case
    {
        CTreeNode main;
        const char* message;
    };
    const Case cases[] = {
        {process("main", {}, {node("test:ports", "a"), node("audio:modNode", "b")}), ""},
        {process("main", {}, {node("test:ports", "a"), node("audio:modNode", "a")}),
         "Duplicate audio process name 'a'."},
        {node("test:wrong", "main"), "Audio process def of invalid class supplied."},
        {autoProcess("main", {node("test:broken", "a")}), "broken on purpose"},
        {process("main", {},
                 {node("test:ports", "a"), node("test:ports", "b"), link("*", "a"), link("a", "b"), link("b", "a")}),
         "process seq err"},
        {process(
             "main", {},
             {node("audio:modNode", "a"), node("audio:modNode", "b"), link("b", "a"), link("a", "b"), link("a", "*")}),
         "process seq err"},
        {autoProcess("main", {node("test:unbound", "a")}), "regModuleParam error 7"},
    };
    for (const Case& c : cases)
    {
        const std::string failure = failureOf(c.main);
        if (*c.message == '\0')
            EXPECT_EQ(failure, "");
        else
            EXPECT_NE(failure.find(c.message), std::string::npos) << "wanted: " << c.message << "\ngot: " << failure;
    }
}

TEST(ProcessDefs, BypassStatesFollowTheirTests)
{
    struct Case
    {
        CAttrs attrs;
        double value;
        double second;
        bool isTrue;
    };
    const CAttrs both = {{"and-param", "q"}, {"and-value", "0"}};
    const CAttrs inverted = {{"is-inverted", "true"}, {"and-param", "q"}};
    const Case cases[] = {
        {{}, 1.0, 0, true}, // absent value: 1
        {{}, 0.9, 0, true},
        {{}, 0.89, 0, false},
        {{{"value", "3"}}, 3.05, 0, true},
        {{{"range", "[0;1]"}}, 0.995, 0, true},
        {{{"range", "[0;1]"}}, 1.006, 0, false},
        {{{"range", "(0;1)"}}, 0.0, 0, false},
        {{{"range", "(0;1)"}}, 0.5, 0, true},
        {{{"range", "[;1.0]"}}, -1e6, 0, true},
        {{{"range", "[2.0;]"}}, 1.99, 0, false},
        {{{"range", "[0;10;4]"}}, 9.9, 0, true}, // whole steps of 4: 2 of -3..3
        {{{"range", "(0;10;4]"}}, 1.9, 0, false}, // rounds to step 0, which is excluded
        {{{"range", "[0;1]"}, {"value", "7"}}, 7.0, 0, false},
        {both, 1.0, 0.0, true},
        {both, 1.0, 1.0, false},
        {inverted, 1.0, 1.0, false},
        {inverted, 1.0, 0.0, true},
    };
    for (const Case& c : cases)
    {
        CAttrs attrs = c.attrs;
        attrs.insert(attrs.end(), {{"id", "4"}, {"param", "p"}});
        CGraphBench bench(process("main", {}, {stateOf(attrs)}));
        const auto* def = dynamic_cast<CAudioProcessBypassStateDef*>(bench.tree->shared().findObject("main.s"));
        ASSERT_NE(def, nullptr);
        EXPECT_EQ(def->id(), 4);
        EXPECT_EQ(def->evaluate(c.value, c.second), c.isTrue)
            << c.value << ' ' << c.second << (c.attrs.empty() ? "" : " " + c.attrs.front().second);
    }
}

// Remaps of nodes that do not run yet are there from the start, follow each other, and may not hang in a ring.
TEST(ProcessDefs, RemapsLeadToOneParameter)
{
    CGraphBench bench(
        process("main", {},
                {node("core:object", "eq", {}, {globalParam("level", 3.0)}),
                 node("audio:param-remap", "r", {},
                      {node("core:object", "content", {{"value", "inner.gain = eq.level; a.x = a.y; a.y = a.x;"}})}),
                 process("inner", {{"is-auto-links", "true"}},
                         {gain("g"), node("audio:param-remap", "r", {{"orig", "g.gain"}, {"new", "gain"}})}),
                 link("*", "inner"), link("inner", "*")}));
    bench.start({0});
    EXPECT_EQ(bench.host.context().resolve("main.inner.g.gain").toUtf8(), "main.eq.level");
    EXPECT_EQ(bench.host.context().resolve("main.other").toUtf8(), "main.other");
    EXPECT_EQ(bench.host.context().resolve("main.a.x").length(), 8);
    EXPECT_EQ(bench.run(constant(4, 1.0)), constant(4, 3.0));
    EXPECT_EQ(bench.collector.findParam("main.inner.g.gain"), nullptr);

    bench.set("eq.level", 5.0);
    EXPECT_EQ(bench.run(constant(4, 1.0)), constant(4, 5.0));
}

}
