// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CFirDesign.h"
#include "Audio/Graph/CAudioGraphContext.h"
#include "ProcessTestKit.h"
#include "Support/GraphNodes.h"
#include "Support/ReferenceCases.h"

#include <algorithm>

namespace kor::test
{

namespace
{

// A response of a test's own, as a generator.
class CTapsGen : public CAudioFilterGen
{
public:
    static CSignal& taps()
    {
        static CSignal values;
        return values;
    }
    void generate(CAudioFilterSpec& spec, double, const CAudioFilterParams&,
                  const CDCDAWFilterWorkspace*) const override
    {
        if (!taps().empty())
            spec.addStage(nullptr).numerator.assign(taps().begin(), taps().end());
    }
};

// Generators: 0 none, 1 the taps, 2 the low-pass, 3 two low-passes, 4 and 5 first-order high-passes, the fourth ten
// times lower.
CTreeNode filterTree(const char* isSmooth, const char* array, const char* tag)
{
    addAllTypes();
    addTestType(creatorRow<CTapsGen>("test:fltgen-taps"));
    CTreeNode filter = node(tag, "main", {{"gen-array", array}, {"xfade-length", "0.015"},
                                          {"is-smooth-update", isSmooth}});
    int index = 0;
    for (const auto& [name, value] : CAttrs{{"index", "1"}, {"length", "0.005736961451247165"}, {"freq", "10788"},
                                            {"power", "1"}, {"latency", "7"}, {"fixsr", "0"}})
    {
        filter.children.push_back(globalParam(name.c_str(), value));
        filter.children.push_back(slot(name.c_str(), index++));
    }
    const auto entry = [](const char* number, const char* path)
    { return node("audio:fltgen-array-item", number, {{"index", number}, {"fltgen", path}}); };
    const auto part = [](const char* name, const char* path, const char* adjust)
    { return node("audio:fltgen-serial-item", name, {{"fltgen", path}, {"adjust", adjust}}); };
    CTreeNode shared;
    shared.children = {
        converters(),
        node("test:fltgen-taps", "taps"),
        node("audio:fltgen-firlp", "lowpass"),
        node("audio:fltgen-serial", "two", {}, {part("0", "/lowpass", ""), part("1", "/lowpass", "")}),
        node("audio:fltgen-lphp1", "high", {{"type", "1"}}),
        node("audio:fltgen-serial", "low", {}, {part("0", "/high", "1,0.1")}),
        node("audio:fltgen-array", "gens", {},
             {entry("1", "/taps"), entry("2", "/lowpass"), entry("3", "/two"), entry("4", "/low"),
              entry("5", "/high")}),
        std::move(filter),
    };
    return shared;
}

// A graph that is one filter module.
class CFirBench : public CRunningGraph
{
public:
    explicit CFirBench(const char* isSmooth = "false", const char* tag = "audio:modFilterFIR")
        : CRunningGraph(filterTree(isSmooth, "/gens", tag), {})
    {
    }
};

}

TEST(FilterFIR, RunsReferenceCases)
{
    for (const nlohmann::json& one : referenceCases("fir", "fir_process"))
        for (const int block : {512, 1, 37})
        {
            CTapsGen::taps() = referenceSignal(one.at("in").at("taps"));
            CFirBench graph;
            graph.startAt(48000.0);
            graph.set("latency", one.at("in").at("latency"));
            graph.restart();
            const CSignal out = graph.run(referenceSignal(one.at("in").at("input")), block);
            expectSequence(one, strided(one, out), one.at("out"), sampleTolerance);
        }
}

TEST(FilterFIR, ReportsItsLatency)
{
    CTapsGen::taps() = {1.0};
    const struct
    {
        int index;
        double latency, fixedRate, rate;
        int want;
    } rows[] = {
        {0, 7, 0, 48000, 0},                // no generator: the input passes
        {1, 7, 0, 48000, 128},
        {1, 2, 0, 48000, 16},               // never below 16 samples
        {2, 7, 1, 96000, 258 + 128},        // as at 44100 Hz
        {2, 7, 0, 44100, 258 + 128},
        {2, 5, 1, 44100, 258 + 32},
        {4, 7, 0, 48000, 0},                // no FIR filter
    };
    for (const auto& row : rows)
    {
        CFirBench graph;
        graph.startAt(row.rate);
        graph.set("index", row.index);
        graph.set("latency", row.latency);
        graph.set("fixsr", row.fixedRate);
        graph.host.prime();
        EXPECT_EQ(graph.host.latency(), row.want) << row.index << " " << row.latency << " " << row.rate;
    }
}

TEST(FilterFIR, KeepsTheShapeOfAFixedRate)
{
    CFirBench graph;
    graph.startAt(96000.0);
    graph.set("index", 2);
    graph.set("fixsr", 1);
    graph.restart();
    CFirDesign design;
    ASSERT_TRUE(designFirLowPass({44100.0, 0.005736961451247165, 10788.0, 1.0}, design));
    // A warm start on silence, so the impulse comes a sample later.
    CSignal in(2000);
    in[1] = 1.0;
    const CSignal out = graph.run(in);
    for (std::size_t i = 0; i < design.taps.size(); ++i)
        ASSERT_NEAR(out[i + 1 + 128], design.taps[i], 1e-12) << i;
}

TEST(FilterFIR, RefusesToCombineAndPlaysOn)
{
    CTapsGen::taps() = {0.5};
    CFirBench graph;
    graph.startAt(48000.0);
    graph.run(CSignal(512, 1.0));
    graph.set("index", 3);
    const CSignal out = graph.run(CSignal(512, 1.0));
    EXPECT_NEAR(out.back(), 0.5, 1e-12);
    const CError error = graph.host.context().takeError();
    EXPECT_EQ(error.message(), "FIR filter combining was not implemented yet!");
}

// A module that has sounded before and comes back starts from what it hears now, not from what it heard then.
TEST(FilterFIR, ForgetsWhenItIsUsedAgain)
{
    CTapsGen::taps() = CSignal(600, 1.0 / 600.0);
    CFirBench graph("true");
    graph.startAt(48000.0);
    graph.run(CSignal(4800, 1.0));
    for (const double index : {0.0, 1.0, 0.0, 1.0})
    {
        graph.set("index", index);
        const CSignal out = graph.run(CSignal(4800, -1.0));
        EXPECT_NEAR(out.back(), -1.0, 1e-9) << index;
    }
    graph.set("index", 0);
    graph.run(CSignal(4800, 1.0));
    graph.set("index", 1);
    EXPECT_LT(difference(graph.run(CSignal(4800, 1.0)), CSignal(4800, 1.0)), 1e-9);
}

// Without a crossfade of modules a new type starts at once and with empty memory, a recursive filter's as well.
TEST(FilterFIR, StartsANewTypeAtOnceWhereNothingFades)
{
    CFirBench graph("false", "audio:modFilterIIR");
    graph.startAt(48000.0);
    graph.set("index", 4);
    graph.run(CSignal(4800, 1.0));
    graph.set("index", 5);
    const CSignal changed = graph.run(CSignal(480, 1.0));
    graph.restart();
    EXPECT_EQ(graph.run(CSignal(480, 1.0)), changed);
    EXPECT_GT(changed[0], 0.2);                 // a high-pass meets the step as if all before had been silence
}

TEST(FilterFIR, NeedsItsGenerators)
{
    for (const char* path : {"/nowhere", "/taps", ""})
    {
        const CTestTree tree(CTreeNode{}, filterTree("false", path, "audio:modFilterFIR"));
        EXPECT_NE(tree.loadFailure().find("The 'gen-array' '" + std::string(path) + "' not found."), std::string::npos)
            << tree.loadFailure();
    }
}

}
