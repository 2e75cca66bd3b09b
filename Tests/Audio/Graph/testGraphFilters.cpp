// SPDX-License-Identifier: GPL-3.0-or-later
#include "GraphTestKit.h"

namespace kor::test
{
namespace
{

CTreeNode filter(const char* type, const char* src, const char* dst)
{
    const std::string name = std::string(type) + dst;
    return node((std::string("audio:param-filter-bypass-") + type).c_str(), name.c_str(), {{"src", src}, {"dst", dst}});
}

}

// The first result of one is what the next one starts from, in whatever order they stand.
TEST(GraphFilters, FiltersInARowAreRightFromTheStart)
{
    for (const bool isReversed : {false, true})
    {
        std::vector<CTreeNode> children = {globalParam("solo"), globalParam("x"), globalParam("y", "5")};
        CTreeNode first = filter("group-solo", "solo", "x");
        CTreeNode second = filter("group-solo", "x", "y");
        children.push_back(isReversed ? second : first);
        children.push_back(isReversed ? first : second);
        CGraphBench bench(autoProcess("main", children));
        EXPECT_EQ(bench.collector.findParam("main.x")->getValue(0, 0), 1.0);
        EXPECT_EQ(bench.collector.findParam("main.y")->getValue(0, 0), 0.0) << isReversed;
    }
}

TEST(GraphFilters, FaultsFailTheCreation)
{
    struct Case
    {
        std::vector<CTreeNode> filters;
        const char* failure;
    };
    const Case cases[] = {
        {{filter("ms", "p", "p")}, ".p' depends on itself through param filters."},
        {{filter("ms", "r", "s"), filter("ms", "p", "q"), filter("ms", "q", "p")}, "depends on itself"},
        {{filter("ms", "p", "q"), filter("ms", "p", "r"), filter("ms", "r", "q")}, ""},
    };
    for (const Case& c : cases)
    {
        for (const bool isDeep : {false, true})
        {
            CTreeNode main =
                autoProcess("main", isDeep ? std::vector<CTreeNode>{autoProcess("in", c.filters)} : c.filters);
            const std::string failure = failureOf(main);
            EXPECT_NE(failure.find(c.failure), std::string::npos) << failure;
            EXPECT_EQ(failure.empty(), *c.failure == '\0') << failure;
        }
    }
}

// The parameters may outlive the graph that filtered them.
TEST(GraphFilters, WithdrawWithTheGraph)
{
    CGraphBench bench(autoProcess("main", {globalParam("p"), globalParam("q"), filter("ms", "p", "q")}));
    CAudioParam* source = nullptr;
    CAudioParam* destination = nullptr;
    {
        CAudioGraphHost second(bench.collector, bench.env);
        const auto* definition = dynamic_cast<const CAudioProcessDefBase*>(bench.tree->shared().findObject("main"));
        ASSERT_TRUE(succeeded(second.create(*definition, "other")));
        source = bench.collector.findParam("other.p");
        destination = bench.collector.findParam("other.q");
        EXPECT_EQ(destination->getValue(0, 0), 1.0);
    }
    destination->setValue(0, 0, 3.0);
    source->setValue(0, 0, 1.0);
    EXPECT_EQ(destination->getValue(0, 0), 3.0);
}

}
