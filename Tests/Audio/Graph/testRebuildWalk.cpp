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
                {param("skip", 0, {{"is-global", "true"}}), state(0, "skip"), memory("m", 0.3, bypassed(smooth, 0)),
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

/// A graph of the same definition that has had these values from the start; NaN stands for the default.
struct CFreshGraph
{
    CFreshGraph(CGraphBench& bench, const std::vector<double>& values)
    {
        collector.setEnvironment(env);
        collector.setGroupCount(8);
        const CObject* definition = bench.tree->shared().findObject("main");
        EXPECT_TRUE(succeeded(host.create(dynamic_cast<const CAudioProcessDefBase&>(*definition), "main")));
        for (std::size_t k = 0; k < std::size(knobs); ++k)
        {
            if (!std::isnan(values[k]))
                collector.findParam(CStringBuf("main.") + knobs[k].name)->setValue(allGroups, 0, values[k]);
        }
        const int groups[] = {0, 3};
        EXPECT_TRUE(succeeded(host.setLayout(groups, 48000.0)));
    }

    CAudioEnv env;
    CAudioParamCollector collector;
    CAudioGraphHost host{collector, env};
};

/// Both graphs take the same signal until all that came before has died away; then they must agree.
void expectSame(CGraphBench& bench, CFreshGraph& fresh)
{
    EXPECT_EQ(bench.host.latency(), fresh.host.latency());
    const CSignals in = {noise(settling, 5), noise(settling, 6)};
    const CSignals got = bench.run(in, 512);
    CSignals want(2, CSignal(settling));
    const double* from[] = {in[0].data(), in[1].data()};
    double* to[] = {want[0].data(), want[1].data()};
    fresh.host.process(from, to, 2, settling);
    for (std::size_t c = 0; c < 2; ++c)
    {
        const CSignal gotEnd(got[c].begin() + settling / 2, got[c].end());
        const CSignal wantEnd(want[c].begin() + settling / 2, want[c].end());
        EXPECT_LT(difference(gotEnd, wantEnd), 1e-9) << "channel " << c;
    }
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
        {
            for (const double sample : channel)
                ASSERT_LT(std::abs(sample), 1e4) << "seed " << seed << " step " << step;
        }

        if (step % 100 != 0)
            continue;
        CFreshGraph fresh(bench, current);
        expectSame(bench, fresh);
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
    CFreshGraph fresh(bench, values);
    bench.run({noise(1, 1), noise(1, 2)});
    expectSame(bench, fresh);
}

// The same samples whatever the blocks, running fades and delays included.
TEST(RebuildWalk, BlocksAreNeverHeard)
{
    const CSignals in = {noise(9000, 1), noise(9000, 2)};
    CSignals first;
    for (const int block : {512, 1, 3, 17, 64, 511, 513, 4096, 0, -1})
    {
        CGraphBench bench(walkTree());
        bench.start({0, 3});
        bench.run({noise(3000, 8), noise(3000, 9)}, 512);
        for (const CKnob& knob : knobs)
            bench.set(knob.name, knob.values.back(), allGroups);
        CSignals out;
        if (block >= 0)
        {
            out = bench.run(in, block);
        }
        else
        {
            std::mt19937 random(4);
            out.resize(2);
            for (std::size_t at = 0; at < 9000;)
            {
                const std::size_t count = std::min<std::size_t>(1 + random() % 700, 9000 - at);
                CSignals part;
                for (const CSignal& channel : in)
                    part.emplace_back(channel.begin() + static_cast<int>(at),
                                      channel.begin() + static_cast<int>(at + count));
                part = bench.run(part);
                for (std::size_t c = 0; c < 2; ++c)
                    out[c].insert(out[c].end(), part[c].begin(), part[c].end());
                at += count;
            }
        }
        if (first.empty())
            first = out;
        EXPECT_EQ(out, first) << "block " << block;
    }
}

}
