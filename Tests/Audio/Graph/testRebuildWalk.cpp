// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioGraphContext.h"
#include "GraphTestKit.h"

#include <atomic>
#include <cmath>
#include <random>
#include <thread>

namespace kor::test
{
namespace
{

constexpr int stateCount = 6;
constexpr int settling = 6000; // longer than the longest path, every delay fade and every memory

/// Chains, taps, joins, a nested container and links that six states switch on and off.
CTreeNode walkTree()
{
    CAttrs smooth = {{"is-smooth-update", "true"}};
    const auto bypassed = [](CAttrs attrs, int id)
    {
        attrs.push_back({"bypass-state-id", std::to_string(id)});
        return attrs;
    };
    std::vector<CTreeNode> children;
    for (int i = 0; i < stateCount; ++i)
    {
        const std::string name = "off" + std::to_string(i);
        children.push_back(param(name.c_str(), 0, {{"is-global", "true"}}));
        children.push_back(
            state(i, name.c_str(), i == 3 ? CAttrs{{"and-param", "off4"}, {"is-inverted", "true"}} : CAttrs{}));
    }
    const CTreeNode inner =
        process("inner", {{"is-auto-links", "true"}},
                {globalParam("skip"), state(0, "skip"), memory("m", 0.3, bypassed(smooth, 0)),
                 delay("d", 60, smooth), gain("tap", 0.25, {{"is-outoforder", "true"}}), link("*", "tap"),
                 link("tap", "*", "0")});
    const std::vector<CTreeNode> nodes = {
        gain("a", 1, smooth),
        node("audio:modNode", "dry"),
        delay("early", 20, bypassed({}, 0)),
        memory("m1", 0.5, bypassed(smooth, 1)),
        inner,
        node("audio:modNode", "mid"),
        delay("late", 500, bypassed({}, 2)),
        gain("b", 2, {}, smooth),
        node("test:ports", "p", {{"is-weighted-input", "true"}}),
        gain("side", 0.5, {{"is-outoforder", "true"}}),
        delay("meter", 7, {{"is-outoforder", "true"}}),
        memory("end", -0.25),
        link("dry", "p/1", "3"),
        link("mid", "side", "4"),
        link("side", "p/2", "5 1"),
        link("a", "p", "5"),
        link("b", "meter", "4 5"),
    };
    children.insert(children.end(), nodes.begin(), nodes.end());
    return autoProcess("main", std::move(children));
}

struct CKnob
{
    const char* name;
    std::vector<double> values;
};

const CKnob knobs[] = {
    {"off0", {0, 1}},
    {"off1", {0, 1}},
    {"off2", {0, 1}},
    {"off3", {0, 1}},
    {"off4", {0, 1}},
    {"off5", {0, 1}},
    {"inner.skip", {0, 1}},
    {"a.gain", {0.5, 1, -1}},
    {"m1.gain", {0.1, 0.5}},
    {"inner.m.gain", {0, 0.3}},
    {"early.samples", {0, 20, 333}},
    {"inner.d.samples", {5, 60}},
    {"late.samples", {1, 500, 502}},
    {"b.gain", {1, 2}},
};

/// A graph of the same definition that has had these values from the start must give the same, once all that came
/// before has died away. NaN stands for the default.
void expectSameAsFresh(CGraphBench& bench, const std::vector<double>& values)
{
    const CObject* definition = bench.tree->shared().findObject("main");
    CRunningGraph fresh(dynamic_cast<const CAudioProcessDefBase&>(*definition), "main");
    for (std::size_t k = 0; k < std::size(knobs); ++k)
        if (!std::isnan(values[k]))
            fresh.set(knobs[k].name, values[k], allGroups);
    fresh.start({0, 3});
    EXPECT_EQ(bench.host.latency(), fresh.host.latency());
    const CSignals in = {noise(settling, 5), noise(settling, 6)};
    const CSignals got = bench.run(in, 512);
    const CSignals wanted = fresh.run(in);
    for (std::size_t c = 0; c < 2; ++c)
        EXPECT_LT(difference(got[c], wanted[c], settling / 2), 1e-9) << "channel " << c;
}

}

// Thousands of changes while sound runs; now and then the graph must equal one that was made with those values.
TEST(RebuildWalk, EndsWhereAFreshGraphBegins)
{
    CGraphBench bench(walkTree());
    bench.start({0, 3});
    const unsigned seed = 20;
    std::mt19937 random(seed);
    const auto pick = [&random](std::size_t count) { return static_cast<std::size_t>(random() % count); };

    std::vector<double> current(std::size(knobs), NAN);
    for (int step = 1; step <= 4000; ++step)
    {
        for (std::size_t changes = 1 + pick(3); changes > 0; --changes)
        {
            const std::size_t k = pick(std::size(knobs));
            current[k] = knobs[k].values[pick(knobs[k].values.size())];
            bench.set(knobs[k].name, current[k], allGroups);
        }
        const int count = 1 + static_cast<int>(pick(600));
        for (const CSignal& channel : bench.run({noise(count, random()), noise(count, random())}))
            ASSERT_LT(largestValue(channel), 1e4) << "seed " << seed << " step " << step;

        if (step % 100 != 0)
            continue;
        expectSameAsFresh(bench, current);
        ASSERT_FALSE(::testing::Test::HasFailure()) << "seed " << seed << " step " << step;
        ASSERT_TRUE(succeeded(bench.host.takeError()));
    }
    bench.host.stop();
    EXPECT_EQ(bench.host.buffersInUse(), 0);
    EXPECT_LT(bench.host.context().pool.allocated(), 200);
}

// Other threads move everything while sound runs; when they are done, their last values are what sounds.
TEST(RebuildWalk, BearsChangesFromOtherThreads)
{
    CGraphBench bench(walkTree());
    bench.start({0, 3});
    std::atomic<int> running{2};
    const auto move = [&](unsigned seed)
    {
        std::mt19937 random(seed);
        for (int i = 0; i < 3000; ++i)
        {
            const CKnob& knob = knobs[random() % std::size(knobs)];
            bench.collector.findParam(CStringBuf("main.") + knob.name)
                ->setValue(random() % 2 == 0 ? 3 : allGroups, 0, knob.values[random() % knob.values.size()]);
        }
        --running;
    };
    std::thread first(move, 1);
    std::thread second(move, 2);
    while (running > 0)
        bench.run({noise(200, 1), noise(200, 2)});
    first.join();
    second.join();
    std::vector<double> values;
    for (const CKnob& knob : knobs)
    {
        values.push_back(knob.values.back());
        bench.set(knob.name, values.back(), allGroups);
    }
    bench.run({noise(1, 1), noise(1, 2)});
    expectSameAsFresh(bench, values);
}

// The same samples whatever the blocks (0: random ones), running fades and delays included.
TEST(RebuildWalk, BlocksAreNeverHeard)
{
    const CSignals in = {noise(9000, 1), noise(9000, 2)};
    CSignals first;
    for (const int block : {512, 1, 17, 64, 511, 4096, 0})
    {
        CGraphBench bench(walkTree());
        bench.start({0, 3});
        bench.run({noise(3000, 8), noise(3000, 9)}, 512);
        for (const CKnob& knob : knobs)
            bench.set(knob.name, knob.values.back(), allGroups);
        CSignals out(2);
        std::mt19937 random(4);
        for (std::size_t at = 0; at < 9000;)
        {
            const std::size_t end = block == 0 ? at + 1 + random() % 700 : at + static_cast<std::size_t>(block);
            const CSignals piece = bench.run(part(in, at, end));
            for (std::size_t c = 0; c < 2; ++c)
                out[c] = joined(out[c], piece[c]);
            at = end;
        }
        if (first.empty())
            first = out;
        EXPECT_EQ(out, first) << "block " << block;
    }
}

}
