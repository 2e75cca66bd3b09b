// SPDX-License-Identifier: GPL-3.0-or-later
// Meters and spectra as nodes of a running graph.
#include "CNodeBench.h"
#include "CVizBench.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Processes/CModSpectrumModule.h"

#include <cmath>
#include <set>

namespace kor::test
{

namespace
{

using nlohmann::json;

// The reference runs at rates that no host has; everything ten times as fast gives the same samples.
constexpr double faster = 10.0;

const std::vector<int> manyLengths = {512, 1, 33, 100, 7, 300};

std::vector<CMeterPost> postsOf(const CVizReader& viz, const char* slot, int channel)
{
    std::vector<CMeterPost> posts;
    for (const CAudioVizDataMeter* one : viz.meters(slot, channel))
        posts.push_back({one->time * faster, one->value, one->peak});
    return posts;
}

/// A detector in a container of its own, with a meter behind it, as a band has them; `count` of them for every group. A
/// poke turns a state of every band that nothing refers to.
std::vector<CTreeNode> bandNodes(int count)
{
    const auto band = process("band", {{"is-stacked", "true"}, {"stack-param", "^count"}},
                              {state(7, "^poke"), vizState(50, "meter"), node("audio:modAbs", "detector"),
                               meterNode("meter", {}, {}), link("*", "detector"), link("detector", "*"),
                               link("detector", "meter", "50")});
    return {globalParam("count", count), globalParam("poke"), band};
}

const CAttrs autoLinks = {{"is-auto-links", "true"}};

int meterCount(CVizBench& bench)
{
    int count = 0;
    const std::function<void(CAudioProcessBase&)> visit = [&](CAudioProcessBase& one)
    {
        count += one.name().equals("main.band.meter") ? 1 : 0;
        one.visitRunning(visit);
    };
    visit(*bench.host->rootProcess());
    return count;
}

}

TEST(Metering, PostsWhatTheReferencePosts)
{
    for (const json& testCase : referenceCases("meter", "meter"))
    {
        CMeterCase read = meterCase(testCase);
        for (double* time : {&read.settings.peakTime, &read.settings.rmsTime, &read.settings.biasTime,
                             &read.settings.release, &read.settings.rmsTime2, &read.settings.release2})
            *time /= faster;
        // The second signal comes on channel 1, which the router puts on channel 0.
        CVizBench bench({meterNode("meter", read.kind, read.settings), routerNode("swap", false, "2,1"),
                         vizState(5, "meter"), link("*", "meter", "5"), link("*", "swap", "5"),
                         link("swap", "meter/1", "5")},
                        {}, read.framesPerSecond * faster);
        bench.viz.listen("meter");
        bench.start({0, 0}, read.rateHz * faster);
        const CSignal other = read.input2.empty() ? CSignal(read.input.size()) : read.input2;
        const CSignals in = {read.input, other};
        EXPECT_EQ(bench.run(in, manyLengths), in);
        expectPosts(testCase, postsOf(bench.viz, "meter", 0), testCase.at("out").at("posts"));
    }
}

TEST(Metering, PostsTheSpectraThatTheReferencePosts)
{
    for (const json& testCase : referenceCases("spectrum", "process"))
    {
        CSpectrumCase read = spectrumCase(testCase);
        read.settings.averageTime /= faster;
        CVizBench bench({spectrumNode("spectrum", read.settings), vizState(30, "spectrum"),
                         link("*", "spectrum", "30")},
                        {}, read.framesPerSecond * faster);
        bench.viz.listen("spectrum");
        bench.viz.listen("spectrum-sec");
        bench.start({0, 3}, read.rateHz * faster);
        const CSignals in = {CSignal(read.input.size()), read.input};
        EXPECT_EQ(bench.run(in, manyLengths), in);

        std::vector<CSpectrumPost> posts[2];
        for (const bool second : {false, true})
            for (const CAudioVizDataSpectrum* one : bench.viz.spectra(second ? "spectrum-sec" : "spectrum", 1))
            {
                posts[second].push_back({one->time * faster, one->type, one->averageTime * faster,
                                         {one->values.begin(), one->values.end()}});
                EXPECT_EQ(one->group, 3);
                EXPECT_EQ(one->element, 0);
                EXPECT_EQ(one->sampleRate, read.rateHz * faster);
                EXPECT_EQ(one->blockSize, 2 * (static_cast<int>(one->values.size()) - 1));
            }
        expectPosts(testCase, posts[0], posts[1]);
    }
}

// A node that measures runs while somebody looks, from the next block to the next block, in every group and wherever it
// stands; the sound never notices.
TEST(Metering, RunsOnlyWhileSomebodyLooks)
{
    const CSignals in = {noise(512, 1), noise(512, 2)};
    struct CStep
    {
        int listeners;
        int meters;
    };
    const std::vector<CStep> steps = {{0, 0}, {1, 4}, {2, 4}, {1, 4}, {0, 0}, {1, 4}};
    std::vector<CSignals> unwatched;
    {
        CVizBench deaf(bandNodes(2), autoLinks);
        deaf.start({0, 5}, 48000.0);
        for (std::size_t i = 0; i < steps.size(); ++i)
            unwatched.push_back(deaf.run(in));
        EXPECT_EQ(meterCount(deaf), 0);
    }
    CVizBench bench(bandNodes(2), autoLinks);
    bench.start({0, 5}, 48000.0);
    int listeners = 0;
    std::size_t index = 0;
    for (const CStep& step : steps)
    {
        for (; listeners < step.listeners; ++listeners)
            bench.viz.listen("band.meter");
        for (; listeners > step.listeners; --listeners)
            bench.viz.unlisten("band.meter");
        EXPECT_EQ(bench.run(in), unwatched[index++]);
        EXPECT_EQ(meterCount(bench), step.meters);
    }
    bench.viz.forget();
    bench.run({noise(4800, 1), noise(4800, 2)});
    for (const auto& [channel, group] : {std::pair(0, 0), std::pair(1, 5)})
        for (const int element : {0, 1})
            EXPECT_EQ(bench.viz.meters("band.meter", channel, element, group).size(), 3u) << channel;
}

// However many come at once, or go, no block has more than a few to make.
TEST(Metering, SpreadsManyMetersOverTheBlocks)
{
    constexpr int perBlock = CAudioGraphContext::vizChangesPerSlice;
    CVizBench bench(bandNodes(10), autoLinks);
    bench.start({0, 1, 2, 3, 4}, 48000.0);
    const CSignals in(5, noise(64));
    for (const int wanted : {50, 0})
    {
        wanted > 0 ? bench.viz.listen("band.meter") : bench.viz.unlisten("band.meter");
        for (int last = 50 - wanted; last != wanted;)
        {
            bench.run(in);
            const int now = meterCount(bench);
            ASSERT_EQ(std::abs(now - last), std::min(perBlock, std::abs(wanted - last)));
            last = now;
        }
        EXPECT_TRUE(bench.host->rootProcess()->isSteady());
    }
}

// On the path without ports a meter sees the same samples at the same time.
TEST(Metering, ShowsTheSameOnBothPaths)
{
    const CSignals in = {noise(9600, 1), noise(9600, 2)};
    CSignals out[2];
    std::vector<CMeterPost> posts[2];
    for (const bool onPorts : {false, true})
    {
        CVizBench bench(bandNodes(2), autoLinks);
        bench.viz.listen("band.meter");
        bench.start({0, 0}, 48000.0);
        for (std::size_t at = 0; at < in[0].size(); at += 480)
        {
            EXPECT_TRUE(onPorts || at < 960 || bench.host->rootProcess()->isSteady());
            if (onPorts)
                bench.set("poke", at % 960 == 0 ? 1.0 : 0.0);
            const CSignals piece = bench.run(part(in, at, at + 480), {480});
            out[onPorts].push_back(joined(piece[0], piece[1]));
        }
        posts[onPorts] = postsOf(bench.viz, "band.meter", 1);
    }
    EXPECT_EQ(out[0], out[1]);
    ASSERT_EQ(posts[0].size(), 12u); // of two bands
    ASSERT_EQ(posts[1].size(), posts[0].size());
    for (std::size_t i = 0; i < posts[0].size(); ++i)
    {
        EXPECT_EQ(posts[0][i].value, posts[1][i].value);
        EXPECT_EQ(posts[0][i].peak, posts[1][i].peak);
        EXPECT_NEAR(posts[0][i].time, posts[1][i].time, 1e-9);
    }
}

// The button that clears sends its value whether or not that is new.
TEST(Metering, ClearsTheSpectrumWithEveryResetThatComes)
{
    CVizBench bench({spectrumNode("spectrum", {.type = CSpectrumType::max}), vizState(30, "spectrum"),
                     link("*", "spectrum", "30")});
    bench.viz.listen("spectrum");
    bench.start({0, 0}, 48000.0);
    const auto lastPeak = [&](const CSignal& in)
    {
        bench.viz.forget();
        bench.run({in, in});
        const auto& values = bench.viz.spectra("spectrum", 1).back()->values;
        return *std::ranges::max_element(values);
    };
    EXPECT_GT(lastPeak(noise(9600)), 1e-3);
    EXPECT_GT(lastPeak(CSignal(9600)), 1e-3);
    for (const double value : {1.0, 1.0, 0.0})
    {
        lastPeak(noise(9600));
        lastPeak(CSignal(9600)); // out of the ring, not out of what is gathered
        bench.set("spectrum.reset", value);
        EXPECT_EQ(lastPeak(CSignal(9600)), 0.0) << value;
    }
}

// Behind the first blocks neither posts nor changes of settings cost the audio thread memory or time for locks, be they
// of the longest spectrum.
TEST(Metering, IsFitForTheAudioThread)
{
    const CSpectrumSettings settings{.overlap = 0.9375, .hasSecond = true};
    CVizBench bench({meterNode("meter", {}, {}), spectrumNode("spectrum", settings), vizState(5, "meter"),
                     vizState(30, "spectrum"), link("*", "meter", "5"), link("*", "spectrum", "30")});
    for (const char* slot : {"meter", "spectrum", "spectrum-sec"})
        bench.viz.listen(slot);
    bench.start({0, 0}, 48000.0);
    const CSignal in = noise(512);
    CSignals out(2, CSignal(512));
    const double* from[] = {in.data(), in.data()};
    double* to[] = {out[0].data(), out[1].data()};
    std::size_t faults = 0;
    for (int block = 0; block < 4000; ++block)
    {
        switch (block % 500)
        {
        case 100:
            bench.set("spectrum.block-size", 10);
            break;
        case 400:
            bench.set("spectrum.block-size", 5);
            break;
        case 410:
            bench.set("spectrum.overlap", block % 1000 > 500 ? 0.5 : 0.9375);
            bench.set("meter.peak-time", block % 1000 > 500 ? 10.0 : 0.3);
            bench.set("meter.rms-time", block % 1000 > 500 ? 1.0 : 0.3);
            break;
        case 420:
            bench.set("spectrum.type", block / 500 % 4);
            bench.set("spectrum.reset", 1.0);
            break;
        }
        {
            const CRealtimeGuard guard;
            bench.viz.collector->frameUpdate();
            bench.host->process(from, to, 2, 512);
            faults += block > 1500 ? guard.faults() : 0;
        }
        if (block % 3 == 0)
            bench.viz.read();
    }
    EXPECT_EQ(faults, 0u);
    std::set<int> lengths;
    for (const CAudioVizDataSpectrum* one : bench.viz.spectra("spectrum-sec"))
        lengths.insert(one->blockSize);
    EXPECT_EQ(lengths, (std::set<int>{2048, 65536}));
    EXPECT_GT(bench.viz.meters("meter", 0).size(), 1200u);
}

}
