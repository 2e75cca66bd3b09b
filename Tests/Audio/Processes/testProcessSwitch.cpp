// SPDX-License-Identifier: GPL-3.0-or-later
#include "CNodeBench.h"

namespace kor::test
{

namespace
{

/// A switch called "sw" with the parameters `index` and `count`, per group and element.
CTreeNode switchNode(CAttrs attrs, std::vector<CTreeNode> children, const char* indices = "0")
{
    std::vector<CTreeNode> all = {globalParam("index", indices), globalParam("count"), slot("index", 0),
                                  slot("count", 1)};
    all.insert(all.end(), children.begin(), children.end());
    return node("audio:modProcessSwitch", "sw", std::move(attrs), std::move(all));
}

constexpr std::size_t blockSize = 24;

/// First sample of what comes out of nodes at rest for an impulse: the product of their gains.
double gainOf(CNodeBench& bench)
{
    bench.restart();
    return bench.run(impulse(2))[0];
}

}

TEST(ProcessSwitch, NamesWhatIsWrongInItsList)
{
    const struct
    {
        const char* list;
        const char* message; // "" for a list that is fine
    } cases[] = {
        {"0:.a;1:.b", ""},
        {" 0 : .a ; -3:.b ;", ""},
        {"", ""},
        {"0:main.first;1:^first;2:.b", ""},
        {"0:.a;1.b", "No index delimiter ':' found in item #2."},
        {"0:.a;x:.b", "Invalid index value 'x' in item #2."},
        {"1.0:.a", "Invalid index value '1.0' in item #1."},
        {"99999999999:.a", "Invalid index value '99999999999' in item #1."},
        {"0:.a;1:.b;0:.b", "Duplicate index value '0' used in item #3."},
        {"0:.a;0x0:.a", "Duplicate index value '0' used in item #2."},
        {"0:.none", "No process definition found at '.none' in item #1."},
        {"0:.a;1:", "No process definition found at '' in item #2."},
        {"0:.index", "No process definition found at '.index' in item #1."},
        {"0:main.sw", "Process definition 'main.sw' in item #1 contains the switch itself."},
    };
    for (const auto& c : cases)
    {
        CNodeBench bench({echoNode("first", "1"), switchNode({{"process-list", c.list}, {"def-index", "0"}},
                                                             {echoNode("a", "2"), echoNode("b", "3")})});
        const std::string failure = bench.failure();
        if (c.message[0] == '\0')
            EXPECT_EQ(failure, "") << c.list;
        else
            EXPECT_NE(failure.find(c.message), std::string::npos) << c.list << "\n" << failure;
    }
}

TEST(ProcessSwitch, RunsWhatTheIndexStandsFor)
{
    const struct
    {
        const char* list;
        const char* defIndex;
        double index;
        double gain; // 1 for an empty switch
    } cases[] = {
        {"0:.a;1:.b", "0", 0.0, 2.0},    {"0:.a;1:.b", "0", 1.0, 3.0},
        {"0:.a;1:.b", "0", 0.6, 3.0},    {"0:.a;1:.b", "0", 0.5, 2.0},
        {"0:.a;1:.b", "0", 1.5, 2.0},    {"0:.a;1:.b", "1", 7.0, 3.0},
        {"0:.a;1:.b", "0", -5.0, 2.0},   {"0:.a;1:.b", "4", 7.0, 1.0},
        {"0:.a;1:.b", "4", 1.0, 3.0},    {"", "0", 0.0, 1.0},
        {"12:.b", "0", 12.0, 3.0},       {"0:.a;1:^aside", "0", 1.0, 5.0},
        {"5:main.aside", "0", 5.0, 5.0},
    };
    for (const char* childName : {"", "mod"})
    {
        for (const auto& c : cases)
        {
            const CAttrs attrs = {{"process-list", c.list}, {"def-index", c.defIndex}, {"def-child-name", childName}};
            CNodeBench bench({echoNode("aside", "5", {{"is-prototype", "true"}}),
                              switchNode(attrs, {echoNode("a", "2"), echoNode("b", "3")}, "400")});
            bench.start({0});
            bench.set("sw.index", c.index);
            EXPECT_EQ(gainOf(bench), c.gain) << c.list << " " << c.index << " " << childName;
        }
    }
}

// The new child starts from rest with the block's first sample, and nobody else notices. A switch forgets even where
// both values stand for one definition; an index that rounds to the same, or a parameter set to what it is, is no
// change.
TEST(ProcessSwitch, ChangesAtTheBlocksEdge)
{
    const struct
    {
        double index, count;
        bool isNew;
        double gain;
    } steps[] = {
        {0.0, 0.0, true, 2.0}, {1.0, 0.0, true, 3.0}, {1.0, 0.0, false, 3.0}, {1.2, 0.0, false, 3.0},
        {7.0, 0.0, true, 2.0}, {8.0, 0.0, true, 2.0}, {8.0, 1.0, true, 2.0},  {8.0, 1.3, false, 2.0},
    };
    CNodeBench bench(
        {echoNode("before", "0.5"),
         switchNode({{"process-list", "0:.a;1:.b"}, {"def-index", "0"}}, {echoNode("a", "2"), echoNode("b", "3")}),
         echoNode("after", "1.5")});
    bench.start({0, 0});
    const CSignal in = noise(std::size(steps) * blockSize, 9);
    const CSignal before = plainEcho(in, 0.5);

    CSignal switched; // what the switch makes: one echo after the other, each from the block of its change on
    CSignal got;
    CSignal span;
    double gain = 0.0;
    for (std::size_t i = 0; i < std::size(steps); ++i)
    {
        if (steps[i].isNew)
            span.clear();
        gain = steps[i].gain;
        const std::size_t from = i * blockSize;
        const std::size_t end = from + blockSize;
        span = joined(span, part(before, from, end));
        switched = joined(switched, part(plainEcho(span, gain), span.size() - blockSize));

        bench.set("sw.index", steps[i].index);
        bench.set("sw.count", steps[i].count);
        const CSignals out = bench.run(CSignals(2, part(in, from, end)));
        EXPECT_EQ(out.at(0), out.at(1));
        got = joined(got, out[0]);
    }
    EXPECT_EQ(got, plainEcho(switched, 1.5));
    EXPECT_EQ(bench.host.buffersInUse(), 0);
}

TEST(ProcessSwitch, MakesABankInSeries)
{
    const struct
    {
        const char* shift; // of the element
        double count;
        double gain; // 2 per child
    } cases[] = {{"0", 3.0, 4.0}, {"0", 2.0, 2.0}, {"0", 1.0, 1.0}, {"0", 0.0, 1.0}, {"2", 5.0, 4.0}, {"4", 2.0, 1.0}};
    for (const auto& c : cases)
    {
        const CAttrs attrs = {{"process-list", "0:.a"}, {"is-allpass-bank", "true"}, {"stack-index-shift", c.shift}};
        CNodeBench bench({switchNode(attrs, {echoNode("a", "2")})});
        bench.start({0});
        bench.set("sw.count", c.count, 0, 0);
        bench.set("sw.count", c.count, 0, 2);
        bench.set("sw.count", c.count, 0, 4);
        EXPECT_EQ(gainOf(bench), c.gain) << c.shift << " " << c.count;
    }
}

TEST(ProcessSwitch, ReportsAChildThatCannotBeMade)
{
    CNodeBench bench(
        {switchNode({{"process-list", "0:.a;1:.bad"}}, {echoNode("a", "2"), node("test:refusing", "bad")})});
    bench.start({0});
    bench.set("sw.index", 1.0);
    EXPECT_EQ(gainOf(bench), 1.0);
    CError error = bench.host.takeError();
    EXPECT_NE(error.text().find("refuses to start"), std::string::npos) << error.text();
    EXPECT_EQ(gainOf(bench), 1.0);
    EXPECT_TRUE(succeeded(bench.host.takeError())) << "tried again without a change";
    bench.set("sw.index", 0.0);
    EXPECT_EQ(gainOf(bench), 2.0);
}

}
