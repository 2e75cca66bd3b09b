// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CSpectrumAnalyser.h"
#include "MeteringTestKit.h"
#include "Support/CRealtimeGuard.h"
#include "Support/ReferenceCases.h"
#include "Support/Signals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace kor::test
{

namespace
{

using nlohmann::json;

/// Runs the signal through and calls `onPost` whenever there is something to show.
template <class Function>
void run(CSpectrumAnalyser& analyser, const CSignal& signal, Function&& onPost)
{
    for (std::size_t at = 0, piece = 1; at < signal.size(); ++piece)
    {
        const int left = static_cast<int>(signal.size() - at);
        const int count = std::min({static_cast<int>(piece * 97 % 1009 + 1), analyser.remaining(), left});
        const bool isDue = analyser.process(signal.data() + at, count);
        at += static_cast<std::size_t>(count);
        if (isDue)
            onPost(at);
    }
}

CSignal shown(const CSpectrumAnalyser& analyser, bool second = false)
{
    CSignal values(static_cast<std::size_t>(analyser.binCount()));
    analyser.copyValues(second, values.data());
    return values;
}

/// A frame a second of the display: posts come with every frame then.
constexpr double everyFrame = 1e9;

}

TEST(SpectrumAnalyser, HasTheMagnitudesAndCoefficientsOfTheReference)
{
    for (const json& testCase : referenceCases("spectrum", "magnitudes"))
    {
        const int n = testCase.at("in").at("n");
        CSpectrumAnalyser analyser;
        analyser.prepare(48000.0, everyFrame);
        CSpectrumSettings settings;
        settings.blockSize = static_cast<int>(std::log2(n)) - CSpectrumAnalyser::smallestOrder;
        settings.type = CSpectrumType::max;
        settings.overlap = 0.0; // a frame sees the whole block and nothing else
        analyser.update(settings, true, 0.0);
        run(analyser, referenceSignal(testCase.at("in").at("input")), [](std::size_t) {});
        expectSequence(testCase, shown(analyser), testCase.at("out"), sampleTolerance);
    }
    for (const json& testCase : referenceCases("spectrum", "config"))
    {
        const json& in = testCase.at("in");
        CSpectrumAnalyser analyser;
        analyser.prepare(in.at("sr"), 30.0);
        CSpectrumSettings settings;
        settings.blockSize = in.at("block_size");
        settings.overlap = in.at("overlap");
        settings.averageTime = in.at("avg_time");
        analyser.update(settings, true, 0.0);
        EXPECT_EQ(analyser.blockLength(), testCase.at("out").at("n")) << caseName(testCase);
        EXPECT_EQ(analyser.hopLength(), testCase.at("out").at("hop")) << caseName(testCase);
        expectNumber(testCase, analyser.smoothCoefficient(), testCase.at("out").at("smooth_k"), "smooth_k");
        expectNumber(testCase, analyser.scale(), testCase.at("out").at("window_scale"), "window_scale");
    }
}

TEST(SpectrumAnalyser, PostsWhatTheReferencePosts)
{
    for (const json& testCase : referenceCases("spectrum", "process"))
    {
        const CSpectrumCase read = spectrumCase(testCase);
        CSpectrumAnalyser analyser;
        analyser.prepare(read.rateHz, read.framesPerSecond);
        analyser.update(read.settings, true, 0.0);
        std::vector<CSpectrumPost> posts[2];
        run(analyser, read.input,
            [&](std::size_t)
            {
                for (const bool second : {false, true})
                    posts[second].push_back({analyser.timeStamp(), static_cast<int>(analyser.type(second)),
                                             analyser.averageTime(second), shown(analyser, second)});
            });
        expectPosts(testCase, posts[0], posts[1]);
    }
}

// A sine in the middle of a bin reads as its RMS value and half of that beside it, at every length of block, and a
// constant as its value times the square root of 2. Nothing else is there.
TEST(SpectrumAnalyser, ReadsASineAsItsRmsValueAtAnyLength)
{
    for (int blockSize = 0; blockSize <= 10; ++blockSize)
    {
        CSpectrumAnalyser analyser;
        analyser.prepare(48000.0, everyFrame);
        CSpectrumSettings settings;
        settings.blockSize = blockSize;
        settings.averageTime = 1e-6;
        analyser.update(settings, true, 0.0);
        const std::size_t n = static_cast<std::size_t>(analyser.blockLength());
        const std::size_t bin = n / 4 + 3;
        const double hz = 48000.0 * static_cast<double>(bin) / static_cast<double>(n);
        run(analyser, constant(2 * n, 1.0) + sine(2 * n, hz, 48000.0), [](std::size_t) {});
        CSignal values = shown(analyser);
        EXPECT_NEAR(values[0], std::numbers::sqrt2, 1e-9);
        EXPECT_NEAR(values[bin], std::numbers::sqrt2 / 2, 1e-9);
        EXPECT_NEAR(values[bin - 1], std::numbers::sqrt2 / 4, 1e-9);
        EXPECT_NEAR(values[bin + 1], std::numbers::sqrt2 / 4, 1e-9);
        for (const std::size_t known : {std::size_t{0}, std::size_t{1}, bin - 1, bin, bin + 1})
            values[known] = 0.0;
        EXPECT_LT(largestValue(values), 1e-9) << n;
    }
}

// What the display's rate, the overlap and the length of a block make of the number of posts.
TEST(SpectrumAnalyser, PostsNoMoreOftenThanTheDisplayAndNoMoreOftenThanItHasFrames)
{
    struct CRateCase
    {
        int blockSize;
        double overlap;
        int posts; // in 2 s at 48 kHz
    };
    for (const CRateCase& t : {CRateCase{0, 0.9375, 60}, CRateCase{5, 0.5, 46}, CRateCase{10, 0.5, 2}})
    {
        CSpectrumAnalyser analyser;
        analyser.prepare(48000.0, 30.0);
        CSpectrumSettings settings;
        settings.blockSize = t.blockSize;
        settings.overlap = t.overlap;
        analyser.update(settings, true, 7.0);
        int posts = 0;
        std::size_t first = 0;
        run(analyser, noise(96000), [&](std::size_t at) { first = posts++ == 0 ? at : first; });
        EXPECT_NEAR(posts, t.posts, 1) << t.blockSize;
        EXPECT_EQ(first % static_cast<std::size_t>(analyser.hopLength()), 0u);
        EXPECT_GE(first, 1600u); // not at once behind the reset
    }
}

// Which settings start anew, and that none of them costs the audio thread memory once a block size has been used.
TEST(SpectrumAnalyser, KeepsOrForgetsWhatIsGatheredBySetting)
{
    CSpectrumAnalyser analyser;
    analyser.prepare(48000.0, 30.0);
    const CSpectrumSettings first{.type = CSpectrumType::max, .secondType = CSpectrumType::max, .hasSecond = true};
    struct CChange
    {
        const char* what;
        bool forgets;
        void (*apply)(CSpectrumSettings&);
        bool hasSecond = true;
    };
    const CChange changes[] = {
        {"nothing", false, [](CSpectrumSettings&) {}},
        {"overlap", false, [](CSpectrumSettings& s) { s.overlap = 0.75; }},
        {"average time", false, [](CSpectrumSettings& s) { s.averageTime = 2.0; }},
        {"type", true, [](CSpectrumSettings& s) { s.type = CSpectrumType::runningMax; }},
        {"second type", true, [](CSpectrumSettings& s) { s.secondType = CSpectrumType::average; }},
        {"second type of none", false, [](CSpectrumSettings& s) { s.secondType = CSpectrumType::average; }, false},
        {"no second", true, [](CSpectrumSettings& s) { s.hasSecond = false; }},
        {"block size", true, [](CSpectrumSettings& s) { s.blockSize = 10; }},
    };
    for (const bool isWarm : {false, true})
    {
        for (const CChange& change : changes)
        {
            CSpectrumSettings settings = first;
            settings.hasSecond = change.hasSecond;
            analyser.update(settings, true, 0.0);
            run(analyser, noise(9600), [](std::size_t) {});
            ASSERT_GT(largestValue(shown(analyser)), 0.0);
            change.apply(settings);
            const CRealtimeGuard guard;
            analyser.update(settings, false, 0.2);
            const std::size_t faults = guard.faults();
            EXPECT_EQ(largestValue(shown(analyser)) == 0.0, change.forgets) << change.what;
            EXPECT_TRUE(faults == 0 || !isWarm) << change.what;
        }
    }
}

TEST(SpectrumAnalyser, LosesASampleThatIsNoNumberWithTheBlocksThatHoldIt)
{
    CSpectrumAnalyser analyser;
    analyser.prepare(48000.0, everyFrame);
    analyser.update({}, true, 0.0);
    CSignal bad = noise(9600);
    bad[1000] = NAN;
    run(analyser, bad, [](std::size_t) {});
    EXPECT_TRUE(std::isfinite(largestValue(shown(analyser))));
    EXPECT_GT(largestValue(shown(analyser)), 0.0);
}

}
