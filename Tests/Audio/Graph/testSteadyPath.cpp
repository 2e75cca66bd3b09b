// SPDX-License-Identifier: GPL-3.0-or-later
#include "GraphTestKit.h"

#include <cmath>

namespace kor::test
{
namespace
{

/// A net with a join, an unlinked port and a shared result, with a row inside and a stack of nets in front.
CTreeNode netTree()
{
    const auto band = process(
        "band", {{"is-stacked", "true"}, {"stack-param", "^count"}},
        {state(7, "^poke"), memory("filter", 0.4),
         node("test:max", "level", {{"is-terminal-whole", "true"}}, {param("gain", 0.5), slot("gain", 0)}),
         node("test:pass", "pass", {}, {param("port", 1), slot("port", 0)}), node("test:ports", "mix"),
         link("*", "filter"), link("*", "level"), link("filter", "pass/1"), link("*", "pass"), link("pass", "mix"),
         link("level", "mix/2"), link("mix", "*")});
    return autoProcess("main", {globalParam("count", 3), globalParam("poke"),
                                state(7, "poke"), band,
                                autoProcess("row", {memory("m", 0.3), gain("g", -0.1), memory("n", -0.2)})});
}

/// Runs the signals in blocks, on the ports alone when `poke` is set.
CSignals inBlocks(CGraphBench& bench, const CSignals& in, int block, bool poke)
{
    CSignals out(in.size());
    const auto step = static_cast<std::size_t>(block);
    for (std::size_t at = 0; at < in[0].size(); at += step)
    {
        if (poke) // a state that nothing refers to keeps every block on the ports by turning
            bench.set("poke", at / step % 2 == 0 ? 1.0 : 0.0);
        const CSignals piece = bench.run(part(in, at, at + step));
        for (std::size_t c = 0; c < in.size(); ++c)
            out[c] = joined(out[c], piece[c]);
    }
    return out;
}

}

TEST(SteadyPath, ComputesWhatThePortsCompute)
{
    const CSignals in = {noise(3000, 1), noise(3000, 2), noise(3000, 3)};
    for (const int block : {1, 100, 128, 300, 512})
    {
        CSignals wanted;
        {
            CGraphBench ports(netTree());
            ports.start({2, 0, 2});
            wanted = inBlocks(ports, in, block, true);
        }
        CGraphBench steady(netTree());
        steady.start({2, 0, 2});
        steady.run({constant(1, 0), constant(1, 0), constant(1, 0)});
        EXPECT_TRUE(steady.process().isSteady());
        EXPECT_EQ(inBlocks(steady, in, block, false), wanted) << "block " << block;
    }
}

// Whatever happens, the next block knows it, and the block after is steady again.
TEST(SteadyPath, LeavesForEveryChange)
{
    const auto band = process("band", {{"is-stacked", "true"}, {"stack-param", "^count"}},
                              {gain("a", 3), gain("b", 5), node("test:ports", "mix"), link("*", "a"), link("*", "b"),
                               link("a", "mix"), link("b", "mix/1"), link("mix", "*")});
    CGraphBench bench(autoProcess("main", {globalParam("count", 1), band}));
    const auto expect = [&](std::size_t channels, double wanted)
    {
        const CSignals out = bench.run(CSignals(channels, constant(8, 1)));
        EXPECT_EQ(out, CSignals(channels, constant(8, wanted)));
        bench.run(CSignals(channels, constant(8, 1)));
        EXPECT_TRUE(bench.process().isSteady());
    };
    bench.start({0, 0});
    expect(2, 53);
    bench.set("band.a.gain", 1, allGroups);
    expect(2, 51);
    bench.set("count", 2, allGroups);
    expect(2, 51 * 53); // the second listens to element 1
    bench.set("count", 0, allGroups);
    expect(2, 1);
    bench.set("count", 1, allGroups);
    bench.start({0, 4, 0});
    expect(3, 51);
    bench.start({7}, 96000);
    expect(1, 51);
    EXPECT_EQ(bench.host.buffersInUse(), 0);
}

// A node that begins and ceases to give all channels one buffer.
TEST(SteadyPath, FollowsAResultThatIsSharedNoMore)
{
    CGraphBench bench(process("main", {}, {node("test:max", "level", {{"is-terminal-whole", "true"}},
                                                {param("gain", 1), slot("gain", 0)}),
                                           node("test:ports", "mix"), link("*", "level"), link("level", "mix"),
                                           link("*", "mix/1"), link("mix", "*")}));
    bench.start({0, 0});
    const auto expect = [&](double gain, double left, double right)
    {
        bench.set("level.gain", gain);
        for (int block = 0; block < 3; ++block)
            EXPECT_EQ(bench.run({constant(4, 1), constant(4, 2)}), (CSignals{constant(4, left), constant(4, right)}))
                << gain << " " << block;
        EXPECT_TRUE(bench.process().isSteady());
    };
    expect(1, 2 + 10, 2 + 20);
    expect(0, 1 + 10, 2 + 20); // every channel its own
    expect(2, 4 + 10, 4 + 20);
}

TEST(SteadyPath, TakesNoMemory)
{
    CGraphBench bench(netTree());
    bench.start({2, 0});
    EXPECT_EQ(bench.faults(100, 1), 0u);
}

// A node with neutral settings that a state takes in and out: the first sample of either is the same as without it.
TEST(SteadyPath, SoftNodesFadeInAndOut)
{
    CGraphBench bench(autoProcess("main", {globalParam("off", 1), state(3, "off"),
                                           node("test:soft", "s", {{"bypass-state-id", "3"}},
                                                {param("gain", -1), slot("gain", 0)})}));
    bench.start({0});
    bench.run(constant(100, 1));
    const auto expectGlide = [](const CSignal& signal, double from, double to)
    {
        EXPECT_NEAR(signal.front(), from, 1e-3);
        EXPECT_EQ(signal.back(), to);
        for (std::size_t i = 1; i < signal.size(); ++i)
            ASSERT_LT(std::abs(signal[i] - signal[i - 1]), 0.005) << i;
    };
    bench.set("off", 0);
    expectGlide(bench.run(constant(1000, 1), 64), 1, -1);
    EXPECT_NE(bench.find("s"), nullptr);
    bench.set("off", 1);
    expectGlide(bench.run(constant(1000, 1), 64), -1, 1);
    EXPECT_EQ(bench.find("s"), nullptr);

    // Wanted again half way out: back without a step.
    bench.set("off", 0);
    bench.run(constant(1000, 1), 64);
    bench.set("off", 1);
    CSignal turn = bench.run(constant(320, 1), 64);
    bench.set("off", 0);
    const CSignal rest = bench.run(constant(2000, 1), 64);
    turn.insert(turn.end(), rest.begin(), rest.end());
    expectGlide(turn, -1, -1);
    EXPECT_EQ(bench.host.buffersInUse(), 0);
}

}
