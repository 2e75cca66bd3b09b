// SPDX-License-Identifier: GPL-3.0-or-later
#include "GraphTestKit.h"

#include "Audio/Graph/CAudioProcessTerminalDef.h"

namespace kor::test
{
namespace
{

/// One pole, its step per sample in the parameter `step`: what it leaves is its high-pass, both sum to the input.
template <bool isHigh>
class CPoleModule : public CTestModule
{
public:
    void reset() override { low = 0.0; }
    void process(const double* in, double* out, int count) override
    {
        for (int i = 0; i < count; ++i)
        {
            const double x = in[i];
            low += value * (x - low);
            out[i] = isHigh ? x - low : low;
        }
    }

private:
    double low = 0.0;
};

const CAttrs prototype = {{"is-prototype", "true"}};

CTreeNode pole(const char* type, const char* name)
{
    return node(type, name, prototype, {param("step", 0.5), slot("step", 0)});
}

/// A gain in every band, split by one-poles, with another node ahead.
CTreeNode multiband(CTreeNode pre, CAttrs attrs = {})
{
    addTestType(creatorRow<CAudioProcessTerminalDef<CAudioProcessTerminal<CPoleModule<false>>>>("test:pole-low"));
    addTestType(creatorRow<CAudioProcessTerminalDef<CAudioProcessTerminal<CPoleModule<true>>>>("test:pole-high"));
    attrs.insert(attrs.end(), {{"is-multiband", "true"},
                               {"multiband-count-param", "^count"},
                               {"multiband-freq-param", "steps"},
                               {"multiband-pre", pre.name},
                               {"multiband-lp", "low"},
                               {"multiband-hp", "high"}});
    CTreeNode split = gain("split", 1.0, attrs);
    split.children.insert(split.children.end(),
                          {globalParam("steps", "0.3"), pole("test:pole-low", "low"), pole("test:pole-high", "high"),
                           std::move(pre), remap("lp.step", "steps"), remap("hp.step", "steps")});
    return autoProcess("main", {globalParam("count", "2"), std::move(split)});
}

const double steps[] = {0.05, 0.2, 0.4, 0.7};

void setSteps(CGraphBench& bench)
{
    for (int i = 0; i < 4; ++i)
        bench.set("split.steps", steps[i], allGroups, i);
}

/// Lets only one of the bands through.
void solo(CGraphBench& bench, int band)
{
    for (int i = 0; i < 6; ++i)
        bench.set("split.mod.gain", i == band ? 1.0 : 0.0, 0, i);
}

/// Band `index` of `count`, sample by sample.
CSignal bandOf(CSignal rest, int index, int count)
{
    for (int i = 0; i <= index && i + 1 < count; ++i)
    {
        double low = 0.0;
        for (double& x : rest)
        {
            low += steps[i] * (x - low);
            x = i == index ? low : x - low;
        }
    }
    return rest;
}

}

TEST(Multiband, BandsSumToTheInput)
{
    CGraphBench bench(multiband(gain("pre", 1.0, prototype)));
    bench.start({0, 1});
    setSteps(bench);
    for (const int count : {2, 0, 1, 5, 3, 4, 0})
    {
        bench.set("count", count, allGroups);
        const CSignals in = {noise(700, 1), noise(700, 2)};
        const CSignals out = bench.run(in, 100);
        for (std::size_t c = 0; c < in.size(); ++c)
            EXPECT_LT(difference(out[c], in[c]), 1e-14) << count << " bands, channel " << c;
    }
}

TEST(Multiband, SplitsAtTheFrequenciesInTurn)
{
    const CSignal in = noise(600, 3);
    for (int count = 1; count <= 5; ++count)
    {
        for (int band = 0; band < count; ++band)
        {
            CGraphBench bench(multiband(gain("pre", 1.0, prototype)));
            setSteps(bench);
            solo(bench, band);
            bench.set("split.pre.gain", band + 2.0, 0, band);
            bench.set("count", count);
            bench.start({0});
            CSignal expected = bandOf(in, band, count);
            for (double& x : expected)
                x *= band + 2.0;
            EXPECT_LT(difference(bench.run(in, 64), expected), 1e-13) << "band " << band << " of " << count;
        }
    }
}

TEST(Multiband, ChangingTheCountLeavesTheLowerBandsAlone)
{
    CGraphBench bench(multiband(gain("pre", 1.0, prototype)));
    setSteps(bench);
    solo(bench, 1);
    bench.set("count", 3);
    bench.start({0});
    const CSignal in = noise(1000, 4);
    CSignal out;
    int made[5] = {};
    const int counts[5] = {3, 5, 4, 3, 4};
    for (int i = 0; i < 5; ++i)
    {
        bench.set("count", counts[i]);
        moduleLog().clear();
        const CSignal part = bench.run(CSignal(in.begin() + i * 200, in.begin() + (i + 1) * 200));
        out.insert(out.end(), part.begin(), part.end());
        made[i] = moduleLog().made;
    }
    EXPECT_LT(difference(out, bandOf(in, 1, 3)), 1e-14);
    const int expected[5] = {0, 2 * 4, 0, 0, 4}; // two filters, pre and copy for every band that comes
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(made[i], expected[i]) << i;
}

TEST(Multiband, BandsOfDifferentLatencyMeetInTime)
{
    CGraphBench bench(multiband(delay("pre", 0, prototype)));
    setSteps(bench);
    bench.set("count", 3);
    bench.set("split.pre.samples", 7, 0, 1);
    bench.set("split.pre.samples", 3, 0, 2);
    bench.start({0});
    EXPECT_EQ(bench.host.latency(), 7);
    const CSignal in = noise(300, 5);
    const CSignal expected = joined(constant(7, 0.0), part(in, 0, 293));
    EXPECT_LT(difference(bench.run(in, 50), expected), 1e-14);
}

// The stack is outside: every group has its own count and its own bands.
TEST(Multiband, StandsInAStack)
{
    CGraphBench bench(multiband(gain("pre", 1.0, prototype), {{"is-stacked", "true"}, {"stack-index-shift", "2"}}));
    setSteps(bench);
    bench.set("count", 2, 0);
    bench.set("count", 3, 1);
    bench.set("count", 0, 2);
    solo(bench, 1);
    bench.start({0, 1, 2});
    const CSignals in = {noise(200, 6), noise(200, 7), noise(200, 8)};
    const CSignals out = bench.run(in);
    EXPECT_LT(difference(out[0], bandOf(in[0], 1, 2)), 1e-14);
    EXPECT_LT(difference(out[1], in[1]), 1e-14) << "all bands of group 1 are on";
    EXPECT_EQ(out[2], in[2]);
}

TEST(Multiband, RefusesWhatItCannotSplitBy)
{
    const struct
    {
        const char* missing;
        const char* wrong;                          // what stands there instead
        const char* failure;
    } cases[] = {
        {"count-param", nullptr, "No 'multiband-count-param' attribute defined."},
        {"freq-param", nullptr, "No 'multiband-freq-param' attribute defined."},
        {"lp", "x", "Invalid process in the 'multiband-lp' attribute value 'x' specified."},
        {"hp", "", "Invalid process in the 'multiband-hp' attribute value '' specified."},
        {"pre", "y", "Invalid process in the 'multiband-pre' attribute value 'y' specified."},
        {"", nullptr, ""},
    };
    for (const auto& c : cases)
    {
        CAttrs attrs = {{"is-multiband", "true"}};
        for (const auto& [name, value] :
             CAttrs{{"count-param", "n"}, {"freq-param", "f"}, {"lp", "a"}, {"hp", "b"}, {"pre", "a"}})
            if (name != c.missing || c.wrong != nullptr)
                attrs.emplace_back("multiband-" + name, name == c.missing ? c.wrong : value);
        const std::string failure =
            failureOf(process("main", attrs, {node("test:ports", "a", prototype), node("test:ports", "b", prototype)}));
        EXPECT_NE(failure.find(c.failure), std::string::npos) << failure;
        EXPECT_EQ(failure.empty(), *c.failure == '\0') << failure;
    }
}

}
