// SPDX-License-Identifier: GPL-3.0-or-later
#include "GraphTestKit.h"

#include <cmath>
#include <numbers>

namespace kor::test
{
namespace
{

const CAttrs smooth = {{"is-smooth-update", "true"}};

/// Share of the new side at sample i of a fade of n samples.
double faded(int i, int n)
{
    if (i < 0)
        return 0.0;
    return i < n ? 0.5 - 0.5 * std::cos(std::numbers::pi * i / n) : 1.0;
}

void expectEach(const CSignal& got, const std::function<double(int)>& want, double tolerance = 1e-9)
{
    for (std::size_t i = 0; i < got.size(); ++i)
        ASSERT_NEAR(got[i], want(static_cast<int>(i)), tolerance) << "sample " << i;
}

}

TEST(Crossfade, ComesOnlyWhereItIsAskedFor)
{
    struct Case
    {
        const char* what;
        CTreeNode gainNode;
        int fade; // samples, 0: at once
    };
    const Case cases[] = {
        {"nobody asks", gain("a", 1), 0},
        {"the node asks", gain("a", 1, smooth), 720},
        {"the slot asks", gain("a", 1, {}, smooth), 720},
        {"length of its own", gain("a", 1, {{"is-smooth-update", "true"}, {"xfade-length", "0.001"}}), 48},
        {"shortest", gain("a", 1, {{"is-smooth-update", "true"}, {"xfade-length", "0"}}), 5},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        CGraphBench bench(autoProcess("main", {c.gainNode}));
        bench.start({0});
        bench.run(constant(10, 1.0));
        moduleLog().clear();
        bench.set("a.gain", 3.0);
        const CSignal out = bench.run(constant(1000, 1.0), 128);
        expectEach(out, [&](int i) { return c.fade == 0 ? 3.0 : 1.0 + 2.0 * faded(i, c.fade); });
        EXPECT_EQ(moduleLog().made, 0);             // all that fades need was made ahead
        EXPECT_EQ(bench.terminal("a").runningFades(), 0);
    }
}

TEST(Crossfade, EqualSettingsNeedNone)
{
    CGraphBench bench(autoProcess("main", {gain("a", 2, smooth)}));
    bench.start({0});
    bench.set("a.gain", 2.0);
    bench.run(constant(10, 1.0), 1);
    EXPECT_EQ(bench.terminal("a").runningFades(), 0);

    // Back to an earlier value: the module that had it is the spare now, and must still fade in.
    for (const double value : {3.0, 2.0})
    {
        const CSignal before = bench.run(constant(1, 1.0));
        bench.set("a.gain", value);
        const CSignal out = bench.run(constant(800, 1.0));
        expectEach(out, [&](int i) { return before[0] + (value - before[0]) * faded(i, 720); });
    }
}

// A module that was faded out before must not bring back what it remembers from then.
TEST(Crossfade, SparesStartFromRest)
{
    CGraphBench bench(autoProcess("main", {memory("m", 0.9, smooth)}));
    bench.start({0});
    double sounding = 0.0;
    double feedback = 0.9;
    for (const double next : {0.5, 0.9, 0.5})
    {
        bench.set("m.gain", next);
        const CSignal in = noise(2000, 3);
        const CSignal out = bench.run(in, 100);
        double fresh = 0.0;
        for (int i = 0; i < 2000; ++i)
        {
            const std::size_t at = static_cast<std::size_t>(i);
            sounding = in[at] + feedback * sounding;
            fresh = in[at] + next * fresh;
            ASSERT_NEAR(out[at], sounding + (fresh - sounding) * faded(i, 720), 1e-9) << i;
        }
        sounding = fresh;
        feedback = next;
    }
}

// Four fades run; what comes meanwhile is one more fade to the newest value, at the first block after one has ended.
TEST(Crossfade, BeyondFourTheNewestValuesWait)
{
    CGraphBench bench(autoProcess("main", {gain("a", 0, smooth)}));
    bench.start({0});
    CSignal out;
    const auto runBlock = [&]
    {
        const CSignal block = bench.run(constant(10, 1.0));
        out.insert(out.end(), block.begin(), block.end());
    };
    for (const double value : {1.0, 2.0, 3.0, 4.0, 50.0, 60.0, 7.0})
    {
        bench.set("a.gain", value);
        runBlock();
        EXPECT_LE(bench.terminal("a").runningFades(), 4);
    }
    while (out.size() < 2000)
        runBlock();
    EXPECT_EQ(bench.terminal("a").runningFades(), 0);
    expectEach(out,
               [](int i)
               {
                   double sounding = 0.0;
                   for (int change = 0; change < 4; ++change)
                       sounding += (change + 1 - sounding) * faded(i - 10 * change, 720);
                   return sounding + (7.0 - sounding) * faded(i - 720, 720);
               });
}

// The new module is heard only when its latency has gone by; the output's latency is the new one's at once.
TEST(Crossfade, HoldsUntilTheNewModuleHasSound)
{
    CGraphBench bench(autoProcess("main", {delay("d", 10, smooth)}));
    bench.start({0});
    const CSignal in = noise(3000, 9);
    bench.run(CSignal(in.begin(), in.begin() + 1000));
    bench.set("d.samples", 600);
    const CSignal out = bench.run(CSignal(in.begin() + 1000, in.end()), 77);
    EXPECT_EQ(bench.host.latency(), 600);
    expectEach(out,
               [&](int i)
               {
                   const double share = faded(i - 600, 720);
                   const double fresh = i >= 600 ? in[static_cast<std::size_t>(i + 400)] : 0.0;
                   return (1.0 - share) * in[static_cast<std::size_t>(i + 990)] + share * fresh;
               });
}

TEST(Crossfade, ConcernsTheGroupsThatChanged)
{
    struct Case
    {
        const char* what;
        CAttrs paramAttrs;
        CAttrs allocAttrs;
        int group; // that is set
        CSignal want; // of the channels, whose groups are 0, 1, 1
        int updates;
    };
    const Case cases[] = {
        {"one group", {}, {}, 1, {1, 3, 3}, 2},
        {"another", {}, {}, 0, {3, 1, 1}, 1},
        {"nobody's group", {}, {}, 2, {1, 1, 1}, 0},
        {"all groups", {}, {}, allGroups, {3, 3, 3}, 3},
        {"single group", {{"is-single-group", "true"}}, {}, 0, {3, 3, 3}, 3},
        {"all look, one has it", {}, {{"use-all-groups", "true"}}, 1, {1, 3, 3}, 3},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        CGraphBench bench(autoProcess(
            "main", {node("test:gain", "a", {}, {param("gain", 1, c.paramAttrs), slot("gain", 0, c.allocAttrs)})}));
        bench.start({0, 1, 1});
        moduleLog().clear();
        bench.set("a.gain", 3.0, c.group);
        const CSignals out = bench.run(CSignals(3, constant(2, 1.0)));
        EXPECT_EQ((CSignal{out[0][1], out[1][1], out[2][1]}), c.want);
        EXPECT_EQ(moduleLog().updates, c.updates);
    }
}

TEST(Crossfade, FadesBetweenPortsThatPassThrough)
{
    CGraphBench bench(process(
        "main", {},
        {node("test:pass", "p", smooth, {globalParam("port"), slot("port", 0)}), gain("a", 5),
         gain("after", 2), link("*", "p"), link("*", "a"), link("a", "p/1"), link("p", "after"), link("after", "*")}));
    bench.start({0});
    EXPECT_EQ(bench.run(constant(3, 1.0)), constant(3, 2.0));
    bench.set("p.port", 1);
    expectEach(bench.run(constant(800, 1.0), 64), [](int i) { return 2.0 * (1.0 + 4.0 * faded(i, 720)); });
    bench.set("p.port", 2); // nothing is linked there
    bench.run(constant(800, 1.0), 64);
    EXPECT_EQ(bench.run(constant(3, 1.0)), constant(3, 0.0));
}

TEST(Crossfade, StopEndsOnTheNewestValues)
{
    CGraphBench bench(autoProcess("main", {memory("m", 0.5, smooth)}));
    bench.start({0});
    for (const double value : {0.1, 0.2, 0.3, 0.4, 0.6, 0.25})
    {
        bench.set("m.gain", value);
        bench.run(impulse(3));
    }
    bench.host.stop();
    EXPECT_EQ(bench.terminal("m").runningFades(), 0);
    EXPECT_EQ(bench.run(impulse(3)), (CSignal{1, 0.25, 0.0625}));
}

TEST(Crossfade, TakesNoHeapAndNoLocksOnceHeard)
{
    CGraphBench bench(process("main", {},
                              {gain("a", 1, smooth), memory("m", 0.1, {}, smooth), delay("d", 40), gain("b", 1),
                               node("test:max", "w", {{"is-terminal-whole", "true"}, {"is-smooth-update", "true"}},
                                    {globalParam("gain", 1), slot("gain", 0)}),
                               link("*", "a"), link("a", "m"), link("m", "d"), link("d", "w"), link("w", "b"),
                               link("*", "b"), link("b", "*")}));
    bench.start({0, 1, 2});
    const auto change = [&](int block)
    {
        int turn = block;
        for (const char* name : {"a.gain", "m.gain", "b.gain", "w.gain", "d.samples"})
            if (turn++ % 3 == 0)
                bench.set(name, name[0] == 'd' ? block % 90 : 0.001 * (block % 700), allGroups);
        return true;
    };
    EXPECT_EQ(bench.faults(2000, 1000, change), 0u);
}

}
