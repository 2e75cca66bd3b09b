// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Graph/CAudioProcessBase.h"
#include "CNodeBench.h"
#include "Support/ReferenceCases.h"

#include <array>

namespace kor::test
{

namespace
{

/// A produced channel as it should be: number, group, and the incoming channels that it is the mean of.
struct CProduced
{
    int number;
    int group;
    std::vector<int> sources;
};

struct CRoutingCase
{
    const char* what;
    bool isOutput;
    int incoming;
    const char* routing;
    const char* grouping;
    std::vector<CProduced> produced;
};

const char* const treeGrouping = "0,0,1,1,2,2,3,3";

const CRoutingCase routingCases[] = {
    {"stereo as it is", false, 2, "1,2,0,0,0,0,0,0", "0", {{0, 0, {0}}, {1, 0, {1}}}},
    {"swapped", false, 2, "2,1,0,0,0,0,0,0", "0", {{0, 0, {1}}, {1, 0, {0}}}},
    {"two on one", false, 2, "1,1,0,0,0,0,0,0", "0", {{0, 0, {0, 1}}}},
    {"three and two, with a gap", false, 6, "5,2,5,0,2,5,0,0", treeGrouping, {{1, 0, {1, 4}}, {4, 2, {0, 2, 5}}}},
    {"surround and a pair",
     false,
     8,
     "3,4,5,6,7,8,1,2",
     treeGrouping,
     {{0, 0, {6}}, {1, 0, {7}}, {2, 1, {0}}, {3, 1, {1}}, {4, 2, {2}}, {5, 2, {3}}, {6, 3, {4}}, {7, 3, {5}}}},
    {"all on one",
     false,
     16,
     "8,8,8,8,8,8,8,8,8,8,8,8,8,8,8,8",
     treeGrouping,
     {{7, 3, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}}}},
    {"sixteen elements", false, 16, "0,0,0,0,0,0,0,0,0,0,0,0,0,0,1,3", "0", {{0, 0, {14}}, {2, 0, {15}}}},
    {"no such internal channels", false, 4, "9,16,2,-1", "0", {{1, 0, {2}}}},
    {"nothing", false, 2, "0,0,0,0,0,0,0,0", "5", {{0, 5, {}}}},
    {"ties to even, nothing below half", false, 3, "1.5,0.5,0.51", "0.4,1.5", {{0, 0, {2}}, {1, 2, {0}}}},
    {"groups out of range", false, 3, "1,2,3", "-3,9999,7", {{0, 0, {0}}, {1, 7, {1}}, {2, 7, {2}}}},
    {"out: one on three", true, 1, "1,1,1,0,0,0,0,0", "0", {{0, 0, {0}}, {1, 0, {0}}, {2, 0, {0}}}},
    {"out: swapped with a gap", true, 3, "0,3,0,1,0,0,0,0", "0", {{1, 0, {2}}, {3, 0, {0}}}},
    {"out: channels that are not there", true, 2, "5,2,9,0", "0", {{1, 0, {1}}}},
    {"out: nothing that is there", true, 2, "3,4,5,6", "0", {{0, 0, {}}}},
};

}

TEST(Router, LeadsChannelsAndGroups)
{
    for (const CRoutingCase& c : routingCases)
    {
        SCOPED_TRACE(c.what);
        CNodeBench bench({routerNode("router", c.isOutput, c.routing, c.grouping)});
        bench.start(std::vector<int>(static_cast<std::size_t>(c.incoming), 0));
        CSignals in;
        for (int i = 0; i < c.incoming; ++i)
            in.push_back(noise(20, 100u + static_cast<unsigned>(i)));
        const CSignals out = bench.run(in, 7);

        std::vector<CAudioChannel> wanted;
        for (const CProduced& produced : c.produced)
            wanted.push_back({produced.number, produced.group, 0});
        EXPECT_EQ(bench.channels(), wanted);
        for (const CProduced& produced : c.produced)
        {
            const CSignal& got = out.at(static_cast<std::size_t>(produced.number));
            for (std::size_t i = 0; i < got.size(); ++i)
            {
                double mean = 0.0;
                for (const int source : produced.sources)
                    mean += in[static_cast<std::size_t>(source)][i] / static_cast<double>(produced.sources.size());
                ASSERT_NEAR(got[i], mean, 1e-15) << "channel " << produced.number << " sample " << i;
            }
        }
    }
}

TEST(Router, CopiesNothing)
{
    // A router in the middle and one at the end, each passing one buffer to several places.
    CNodeBench bench({routerNode("in", false, "1,2"), routerNode("fan", true, "1,2,1,2,0,0,0,0"),
                      routerNode("out", true, "3,4,1,0,0,0,0,0")});
    bench.start({0, 0});
    const CSignals in = {noise(512, 1), noise(512, 2)};
    EXPECT_EQ(bench.run(in), (CSignals{in[0], in[1], in[0]}));
    EXPECT_EQ(bench.host.context().pool.allocated(), 2);
    EXPECT_EQ(bench.host.buffersInUse(), 0);
}

TEST(Router, AveragesWithoutSpoilingWhatOthersHear)
{
    const std::vector<CTreeNode> nodes = {routerNode("mean", false, "1,1"),
                                          routerNode("plain", false, "1,2"),
                                          link("*", "mean"),
                                          link("*", "plain"),
                                          link("mean", "*"),
                                          link("plain", "*")};
    CNodeBench bench(nodes, {});
    bench.start({0, 0});
    // Channel 0: mean of both plus itself.
    EXPECT_EQ(bench.run(levels({1.0, 3.0})), levels({3.0, 3.0}));
    EXPECT_EQ(bench.host.buffersInUse(), 0);
}

// A latency ahead of the router reaches what follows it, on the silent channel too.
TEST(Router, PassesLatencyOn)
{
    CNodeBench bench({routerNode("router", false, "1,2")});
    bench.start({0});
    CAudioOutput source;
    const CAudioChannel late{0, 0, 502};
    source.configure({&late, 1}, 48000.0, 512);
    bench.host.rootProcess()->inputs().port(0).setSources(std::array<CAudioOutput*, 1>{&source});
    for (const double route : {1.0, 0.0})
    {
        bench.set("router.routing", route);
        bench.collector.flush();
        source.blockLength = 1;
        source.deliver();
        bench.host.rootProcess()->process();
        EXPECT_EQ(bench.channels(), (std::vector<CAudioChannel>{{0, 0, 502}})) << route;
    }
}

TEST(MSCoder, MatchesReference)
{
    for (const char* function : {"ms_encode", "ms_decode"})
    {
        const bool isDecoder = std::string(function) == "ms_decode";
        CNodeBench bench({coderNode("coder", "1,1", isDecoder)});
        bench.start({0, 0});
        for (const auto& testCase : referenceCases("misc", function))
        {
            const auto& in = testCase["in"];
            const double a = in[isDecoder ? "m" : "a"];
            const double b = in[isDecoder ? "s" : "b"];
            const CSignals out = bench.run(levels({a, b}, 5));
            const CSignal last = {out.at(0).back(), out.at(1).back()};
            expectSequence(testCase, last, testCase["out"], 1e-15);
        }
    }
}

TEST(MSCoder, FindsPairs)
{
    const CSignal values = {0.5, -2.0, 8.0, 32.0};
    for (const auto& testCase : referenceCases("misc", "ms_pairs"))
    {
        CNodeBench bench({coderNode("coder", "0,0,0,0", 0)});
        bench.start({0, 0, 0, 0});
        for (int c = 0; c < 4; ++c)
            bench.set("coder.pairs", testCase["in"]["pairs"][static_cast<std::size_t>(c)], 0, c);
        CSignal wanted = values;
        for (const auto& pair : testCase["out"])
        {
            const std::size_t a = pair[0];
            const std::size_t b = pair[1];
            wanted[a] = (values[a] + values[b]) / 2.0;
            wanted[b] = (values[a] - values[b]) / 2.0;
        }
        const CSignals out = bench.run(levels({values[0], values[1], values[2], values[3]}));
        for (std::size_t c = 0; c < 4; ++c)
            EXPECT_EQ(out.at(c).back(), wanted[c]) << caseName(testCase) << " channel " << c;
    }
}

TEST(MSCoder, ReadsNumbersAsTheyAreMeant)
{
    struct CCase
    {
        const char* pairs;
        double mode, bypass;
        CSignal out; // of 6 and 2
    };
    const CCase cases[] = {
        {"1,1", 0.0, 0.0, {4.0, 2.0}},   {"4,4", 0.4, 0.4, {4.0, 2.0}},     {"2,2", 1.0, 0.0, {8.0, 4.0}},
        {"2,2", 0.6, 0.0, {8.0, 4.0}},   {"1,1", 0.0, 0.5, {6.0, 2.0}},     {"5,5", 0.0, 0.0, {6.0, 2.0}},
        {"-1,-1", 0.0, 0.0, {6.0, 2.0}}, {"0.6,1.4", 0.0, 0.0, {4.0, 2.0}}, {"9999,9999", 0.0, 0.0, {6.0, 2.0}},
    };
    for (const CCase& c : cases)
    {
        CNodeBench bench({coderNode("coder", c.pairs, 0)});
        bench.start({0, 0});
        bench.set("coder.mode", c.mode);
        bench.set("coder.bypass", c.bypass);
        const CSignals out = bench.run(levels({6.0, 2.0}));
        EXPECT_EQ((CSignal{out.at(0).back(), out.at(1).back()}), c.out) << c.pairs << " " << c.mode << " " << c.bypass;
    }
}

TEST(MSCoder, LeavesSharedBuffersAlone)
{
    const std::vector<CTreeNode> nodes = {routerNode("fan", true, "1,1,0,0,0,0,0,0"),
                                          coderNode("coder", "1,1", 0),
                                          routerNode("dry", true, "1,2,0,0,0,0,0,0"),
                                          link("*", "fan"),
                                          link("fan", "coder"),
                                          link("fan", "dry"),
                                          link("coder", "*"),
                                          link("dry", "*")};
    CNodeBench bench(nodes, {});
    bench.start({0});
    // Both members are one buffer, which is heard beside them too.
    EXPECT_EQ(bench.run(levels({3.0})), levels({6.0, 3.0}));
    EXPECT_EQ(bench.host.buffersInUse(), 0);
}

TEST(Routing, AllocatesNothingInTheSteadyState)
{
    CNodeBench bench({routerNode("in", false, "1,2,1,3"), coderNode("encoder", "1,1", 0),
                      coderNode("decoder", "1,1", 1), routerNode("out", true, "1,2,1,0,3")});
    bench.start({0, 0, 0, 0});
    EXPECT_EQ(bench.faults(20, 4), 0u);
}

}
