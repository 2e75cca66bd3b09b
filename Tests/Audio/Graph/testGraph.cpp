// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioGraphContext.h"
#include "GraphTestKit.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kor::test
{
namespace
{

CTreeNode ports(const char* name, CAttrs attrs = {})
{
    return node("test:ports", name, std::move(attrs));
}

CTreeNode junction(const char* name)
{
    return node("audio:modNode", name);
}

CSignal delayed(const CSignal& signal, int late)
{
    return part(joined(constant(static_cast<std::size_t>(late), 0.0), signal), 0, signal.size());
}

}

// What reaches the output of a container, as the factor on its input: gains multiply along a path, paths add up.
TEST(Graph, WiresWhatTheDefinitionsSay)
{
    struct Case
    {
        const char* what;
        CTreeNode main;
        double factor;
    };
    const Case cases[] = {
        {"chain in document order", autoProcess("main", {gain("a", 2), gain("b", 3)}), 6},
        {"empty container is transparent", process("main", {}, {}), 1},
        {"a node nobody links does not count", process("main", {}, {gain("a", 2)}), 1},
        {"out of order stays out of the chain",
         autoProcess("main", {gain("a", 2), gain("b", 3, {{"is-outoforder", "true"}})}), 2},
        {"a prototype is no node", autoProcess("main", {gain("a", 2), gain("b", 3, {{"is-prototype", "true"}})}), 2},
        {"two paths add up",
         process("main", {},
                 {gain("a", 2), gain("b", 3), link("*", "a"), link("*", "b"), link("a", "*"), link("b", "*")}),
         5},
        {"two paths into one port",
         process("main", {},
                 {gain("a", 2), gain("b", 3), gain("c", 1), link("*", "a"), link("*", "b"), link("a", "c"),
                  link("b", "c"), link("c", "*")}),
         5},
        {"the same with weights",
         process("main", {},
                 {gain("a", 2), gain("b", 3), gain("c", 1, {{"is-weighted-input", "true"}}), link("*", "a"),
                  link("*", "b"), link("a", "c"), link("b", "c"), link("c", "*")}),
         2.5},
        {"a join leaves alone what others read later",
         process("main", {},
                 {gain("a", 2), gain("sum", 1), gain("late", 7), link("*", "a"), link("*", "sum"), link("a", "sum"),
                  link("*", "late"), link("sum", "*"), link("late", "*")}),
         10},
        {"seven sources",
         process("main", {}, {gain("a", 1),     gain("b", 2),     gain("c", 3),     gain("d", 4),     gain("e", 5),
                              gain("f", 6),     link("*", "a"),   link("*", "b"),   link("*", "c"),   link("*", "d"),
                              link("*", "e"),   link("*", "f"),   gain("sum", 1),   link("*", "sum"), link("a", "sum"),
                              link("b", "sum"), link("c", "sum"), link("d", "sum"), link("e", "sum"), link("f", "sum"),
                              link("sum", "*")}),
         22},
        {"one source linked twice counts once",
         process("main", {},
                 {gain("a", 2), gain("b", 1), link("*", "a"), link("a", "b"), link("a", "b/0"), link("b", "*")}),
         2},
        {"ports stay apart",
         process("main", {},
                 {gain("a", 2), gain("b", 3), ports("p"), link("*", "a"), link("*", "b"), link("*", "p"),
                  link("a", "p/1"), link("b", "p/2"), link("p", "*")}),
         321},
        {"straight through does nothing",
         process("main", {}, {gain("a", 2), link("*", "*"), link("*", "a"), link("a", "*")}), 2},
        {"links to nobody are skipped",
         process("main", {}, {gain("a", 2), link("*", "a"), link("x", "a"), link("a", "y"), link("a", "*")}), 2},
        {"junction in a chain", autoProcess("main", {gain("a", 2), junction("j"), gain("b", 3)}), 6},
        {"junctions at both ends", autoProcess("main", {junction("i"), junction("j"), gain("a", 2), junction("k")}), 2},
        {"tap at a junction",
         autoProcess("main", {gain("a", 2), junction("j"), gain("b", 3), ports("p"), link("j", "p/1")}), 6 + 10 * 2},
        {"junction of several sources",
         process("main", {},
                 {gain("a", 2), gain("b", 3), junction("j"), junction("k"), gain("c", 1), link("*", "a"),
                  link("*", "b"), link("k", "c"), link("j", "k"), link("a", "j"), link("b", "j"), link("*", "k"),
                  link("c", "*")}),
         6},
        {"a link into a junction of the chain",
         autoProcess("main", {gain("a", 2), junction("j"), gain("b", 3), gain("c", 5, {{"is-outoforder", "true"}}),
                              link("*", "c"), link("c", "j")}),
         21},
        {"container in a container, second input and output",
         process(
             "main", {},
             {process("inner", {},
                      {gain("a", 2), gain("b", 3), link("*", "a"), link("*/1", "b"), link("a", "*/1"), link("b", "*")}),
              gain("x", 7), ports("p"), link("*", "inner"), link("*", "x"), link("x", "inner/1"), link("inner", "p"),
              link("inner/1", "p/1"), link("p", "*")}),
         3 * 7 + 10 * 2},
        {"what hangs on a node without input is not there",
         process("main", {},
                 {gain("a", 2), gain("b", 3), gain("c", 5), link("a", "b"), link("*", "c"), link("b", "c"),
                  link("c", "*")}),
         5},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        CGraphBench bench(c.main);
        bench.start({0, 0});
        const CSignal left = noise(700, 1);
        const CSignal right = noise(700, 2);
        const CSignals out = bench.run({left, right}, 300);
        ASSERT_EQ(out.size(), 2u);
        EXPECT_LT(difference(out[0], c.factor * left), 1e-12 * c.factor);
        EXPECT_LT(difference(out[1], c.factor * right), 1e-12 * c.factor);
        EXPECT_EQ(bench.host.buffersInUse(), 0);
        EXPECT_EQ(bench.host.latency(), 0);
    }
}

TEST(Graph, BypassedNodeLeavesAndComesBackFresh)
{
    CGraphBench bench(autoProcess("main", {globalParam("off"), state(4, "off"), gain("a", 2),
                                           memory("m", 0.5, {{"bypass-state-id", "4"}}), gain("b", 3)}));
    bench.start({0});
    EXPECT_EQ(bench.run(impulse(4)), (CSignal{6, 3, 1.5, 0.75}));

    bench.set("off", 1.0);
    EXPECT_EQ(bench.run(impulse(4)), (CSignal{6, 0, 0, 0}));
    EXPECT_EQ(bench.find("m"), nullptr);
    EXPECT_NE(bench.find("a"), nullptr);

    bench.set("off", 0.0);
    EXPECT_EQ(bench.run(CSignal{0, 1, 0}), (CSignal{0, 6, 3})) << "the memory from before must be gone";
    EXPECT_EQ(bench.process().rebuildCount(), 3);
    bench.set("off", 0.05);
    bench.run(impulse(4));
    EXPECT_EQ(bench.process().rebuildCount(), 3) << "the state's result is the same";
}

TEST(Graph, LinksAreAbsentWhileAnyOfTheirStatesIsTrue)
{
    CGraphBench bench(process("main", {},
                              {globalParam("x"), globalParam("y"),
                               state(0, "x"), state(1, "y"), gain("a", 2), gain("b", 3), link("*", "a"),
                               link("*", "b", "0 1"), link("a", "*"), link("b", "*", "")}));
    bench.start({0});
    for (const auto& [x, y, want] :
         {std::tuple(0.0, 0.0, 5.0), {1.0, 0.0, 2.0}, {1.0, 1.0, 2.0}, {0.0, 1.0, 2.0}, {0.0, 0.0, 5.0}})
    {
        bench.set("x", x);
        bench.set("y", y);
        EXPECT_EQ(bench.run(constant(3, 1.0)), constant(3, want)) << x << ' ' << y;
        EXPECT_EQ(bench.find("b") != nullptr, want == 5.0);
    }
}

// Which joins wait for what: out = weight x (latest path + others), all in step.
TEST(Graph, AlignsEveryJoinToItsLatestInput)
{
    struct Case
    {
        const char* what;
        CTreeNode main;
        int latency;
        double factor;
    };
    const Case cases[] = {
        {"dry beside 502 samples",
         process("main", {},
                 {delay("slow", 502), gain("sum", 1), link("*", "slow"), link("slow", "sum"), link("*", "sum"),
                  link("sum", "*")}),
         502, 2},
        {"at the container's output",
         process(
             "main", {},
             {delay("slow", 502), link("*", "slow"), link("slow", "*"), gain("g", 3), link("*", "g"), link("g", "*")}),
         502, 4},
        {"the same with the early path first, and once more around",
         process("main", {},
                 {process("inner", {},
                          {delay("slow", 502), gain("g", 3), link("*", "g"), link("g", "*"), link("*", "slow"),
                           link("slow", "*")}),
                  gain("h", 5), link("*", "h"), link("h", "*"), link("*", "inner"), link("inner", "*")}),
         502, 9},
        {"at a container's input, the early source first",
         process("main", {},
                 {delay("slow", 40),
                  process("inner", {},
                          {delay("more", 2), link("*", "more"), link("more", "*"), gain("g", 3), link("*", "g"),
                           link("g", "*")}),
                  link("*", "slow"), link("*", "inner"), link("slow", "inner"), link("inner", "*")}),
         42, 8},
        {"across ports",
         process("main", {},
                 {delay("slow", 300), delay("slower", 1000), ports("p"), link("*", "p"), link("slow", "p/1"),
                  link("slower", "p/2"), link("*", "slow"), link("*", "slower"), link("p", "*")}),
         1000, 111},
        {"join behind join",
         process("main", {},
                 {delay("a", 100), delay("b", 50), gain("j", 1), gain("k", 1, {{"is-weighted-input", "true"}}),
                  link("*", "a"), link("a", "j"), link("*", "j"), link("j", "b"), link("b", "k"), link("*", "k"),
                  link("k", "*")}),
         150, 1.5},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        CGraphBench bench(c.main);
        bench.start({0, 1});
        EXPECT_EQ(bench.host.latency(), c.latency);
        EXPECT_EQ(bench.env.latency, c.latency);
        const CSignals in = {noise(2500, 1), noise(2500, 2)};
        const CSignals out = bench.run(in, 333);
        EXPECT_LT(difference(out[0], c.factor * delayed(in[0], c.latency)), 1e-12 * c.factor);
        EXPECT_LT(difference(out[1], c.factor * delayed(in[1], c.latency)), 1e-12 * c.factor);
        bench.host.stop();
        EXPECT_EQ(bench.host.buffersInUse(), 0) << "a stopped graph holds no memory of sound";
        const CSignals again = bench.run(in, 512);
        EXPECT_EQ(again, out) << "and starts as if new";
    }
}

TEST(Graph, ControlInputsStartFilled)
{
    for (const bool isComp : {false, true})
    {
        CGraphBench bench(process("main", {},
                                  {delay("slow", 100), ports("p", {{"is-comp-input", isComp ? "true" : "false"}}),
                                   link("*", "slow"), link("slow", "p"), link("*", "p/1"), link("p", "*")}));
        bench.start({0});
        const CSignal out = bench.run(constant(300, 0.5));
        EXPECT_EQ(out[0], isComp ? 5.0 : 0.0);
        EXPECT_EQ(out[99], isComp ? 5.0 : 0.0);
        EXPECT_EQ(out[100], 5.5);
    }
}

// The dry path alone is heard; its delay goes from 100 to 300 samples along a raised cosine of 15 ms.
TEST(Graph, ChangedLatencyFadesTheDelay)
{
    CGraphBench bench(process("main", {},
                              {delay("slow", 100), gain("mute", 0), gain("sum", 1), link("*", "slow"),
                               link("slow", "mute"), link("mute", "sum"), link("*", "sum"), link("sum", "*")}));
    bench.start({0});
    const CSignal in = noise(4000, 5);
    EXPECT_EQ(bench.run(part(in, 0, 1000)), delayed(part(in, 0, 1000), 100));
    bench.set("slow.samples", 300);
    const CSignal after = bench.run(part(in, 1000), 97);
    EXPECT_EQ(bench.host.latency(), 300);
    for (std::size_t i = 0; i < after.size(); ++i)
    {
        const double s = i < 720 ? 0.5 * std::cos(std::numbers::pi * static_cast<double>(i) / 720.0) : -0.5;
        const double want = (0.5 + s) * in[i + 900] + (0.5 - s) * in[i + 700];
        ASSERT_NEAR(after[i], want, 1e-9) << i;
    }
}

// Counted by the buffers that ever had to be made, for one channel.
TEST(Graph, WritesInPlaceWhereNobodyElseReads)
{
    struct Case
    {
        const char* what;
        CTreeNode main;
        int buffers;
    };
    const auto pass = [](const char* name) {
        return node("test:pass", name, {}, {globalParam("port"), slot("port", 0)});
    };
    const Case cases[] = {
        {"chain", autoProcess("main", {gain("a", 2), gain("b", 2), gain("c", 2), gain("d", 2)}), 1},
        {"forwarding", autoProcess("main", {pass("a"), pass("b"), autoProcess("c", {})}), 1},
        {"two readers, one writer: the second may write again",
         process("main", {},
                 {gain("a", 2), gain("b", 3), link("*", "a"), link("*", "b"), link("a", "*"), link("b", "*")}),
         2},
        {"a reader that only forwards",
         process("main", {}, {pass("a"), ports("p"), link("*", "a"), link("a", "p"), link("*", "p/1"), link("p", "*")}),
         2},
    };
    for (const Case& c : cases)
    {
        CGraphBench bench(c.main);
        bench.start({0});
        bench.run(noise(2000, 1), 512);
        EXPECT_EQ(bench.host.context().pool.allocated(), c.buffers) << c.what;
        EXPECT_EQ(bench.host.buffersInUse(), 0) << c.what;
    }
}

// A relink, a channel that comes or a group that changes leaves the memory of all others alone.
TEST(Graph, UnconcernedModulesKeepTheirMemory)
{
    CGraphBench bench(autoProcess(
        "main", {globalParam("off"), state(0, "off"), gain("a", 2, {{"bypass-state-id", "0"}}),
                 node("test:max", "whole", {{"is-terminal-whole", "true"}}, {param("gain", 1), slot("gain", 0)}),
                 memory("m", 0.5), delay("late", 3, {{"bypass-state-id", "0"}})}));
    bench.start({0, 1});
    bench.run({impulse(2), impulse(2)});
    moduleLog().clear();
    bench.set("off", 1.0);
    EXPECT_EQ(bench.run({constant(2, 0), constant(2, 0)}), (CSignals{{0.5, 0.25}, {0.5, 0.25}}));
    EXPECT_EQ(moduleLog().made, 0);
    EXPECT_EQ(moduleLog().resets, 0);

    const CAudioModule* first = bench.terminal("m").findModule(0);
    bench.start({0, 2, 5});
    EXPECT_EQ(bench.terminal("m").findModule(0), first);
    EXPECT_NE(bench.terminal("m").findModule(2), nullptr);
    EXPECT_EQ(bench.terminal("m").findModule(1)->group, 2);
    EXPECT_EQ(bench.run({impulse(2), impulse(2), impulse(2)}), (CSignals(3, CSignal{1, 0.5})));

    bench.start({0, 2, 5}, 96000.0);
    EXPECT_EQ(bench.terminal("m").findModule(0)->sampleRate, 96000.0);
    bench.start({0});
    EXPECT_EQ(bench.terminal("m").findModule(1), nullptr);
    EXPECT_EQ(bench.host.outputCount(), 1);
}

// 100 samples at 48 kHz: every block calls update until they have gone by, whatever the blocks, and once more then.
TEST(Graph, TimersCountAudio)
{
    struct Case
    {
        int block;
        int updates;
    };
    for (const Case& c : {Case{1, 100}, {10, 10}, {30, 4}, {100, 1}, {512, 1}})
    {
        CGraphBench bench(autoProcess("main", {node("test:timer", "t")}));
        bench.start({0});
        auto& timer = dynamic_cast<CTimerProcess&>(*bench.find("t"));
        timer.updates = 0;
        timer.count(50.0 / 48000.0);
        timer.count(99.9 / 48000.0); // prolongs the one that runs
        bench.run(constant(c.block * (c.updates - 1) + 1, 1.0), c.block);
        EXPECT_FALSE(timer.hasEnded) << c.block;
        bench.run(constant(3 * c.block, 1.0), c.block);
        EXPECT_TRUE(timer.hasEnded) << c.block;
        bench.run(constant(3 * c.block, 1.0), c.block);
        EXPECT_LE(timer.updates, c.updates + 2) << c.block;
    }
}

TEST(Graph, GoesOnWithoutWhatCannotBeMade)
{
    struct Case
    {
        CTreeNode main;
        double factor;
    };
    const Case cases[] = {
        {process("main", {},
                 {gain("a", 2), node("test:broken", "b"), gain("c", 5), link("*", "a"), link("*", "b"), link("b", "c"),
                  link("a", "*"), link("c", "*")}),
         2},
        {process("main", {},
                 {gain("a", 2), gain("b", 3), gain("c", 5), link("*", "a"), link("*", "b"), link("b", "c"),
                  link("c", "b"), link("c", "*"), link("a", "*")}),
         2},
    };
    for (const Case& c : cases)
    {
        CGraphBench bench(c.main);
        const int group = 0;
        EXPECT_FALSE(succeeded(bench.host.setLayout({&group, 1}, 48000.0)));
        EXPECT_EQ(bench.run(constant(4, 1.0)), constant(4, c.factor));
        EXPECT_TRUE(succeeded(bench.host.takeError()));
    }
}

TEST(Graph, HostRefusesWhatItCannotRun)
{
    CGraphBench bench(autoProcess("main", {gain("a", 2)}));
    double sample = 7.0;
    double* out = &sample;
    bench.host.process(nullptr, &out, 1, 1);
    EXPECT_EQ(sample, 0.0);
    const int groups[17] = {};
    const int bad = 16;
    EXPECT_FALSE(succeeded(bench.host.setLayout({}, 48000.0)));
    EXPECT_FALSE(succeeded(bench.host.setLayout(groups, 48000.0)));
    EXPECT_FALSE(succeeded(bench.host.setLayout({&bad, 1}, 48000.0)));
    for (const double rate : {0.0, -1.0, 7999.0, 1e9, std::nan("")})
        EXPECT_FALSE(succeeded(bench.host.setLayout({groups, 1}, rate))) << rate;

    // Channels missing on either side are silence and zeros; outputs may be the inputs' own memory, crossed over.
    bench.start({0, 0});
    CSignal left = constant(1000, 1.0);
    CSignal right = constant(1000, 2.0);
    CSignal third = constant(1000, 9.0);
    const double* from[] = {left.data(), right.data()};
    double* to[] = {right.data(), left.data(), third.data()};
    bench.host.process(from, to, 3, 1000);
    EXPECT_EQ(right, constant(1000, 2.0));
    EXPECT_EQ(left, constant(1000, 4.0));
    EXPECT_EQ(third, constant(1000, 0.0));
    const double* missing[] = {left.data(), nullptr};
    double* nowhere[] = {nullptr, right.data()};
    bench.host.process(missing, nowhere, 2, 1000);
    EXPECT_EQ(right, constant(1000, 0.0));
    EXPECT_EQ(left, constant(1000, 4.0));
}

}
