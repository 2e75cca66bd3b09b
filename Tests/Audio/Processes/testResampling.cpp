// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModResampler.h"
#include "CResamplingBench.h"
#include "Support/ReferenceCases.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

namespace kor::test
{

namespace
{

constexpr double rates[] = {44100.0, 48000.0, 96000.0, 192000.0};
constexpr int linearLatency[] = {0, 386, 463, 502};         // by stages

double decibel(double gain)
{
    return 20.0 * std::log10(std::max(gain, 1e-30));
}

/// Magnitude of a response at a share of the sample rate.
double responseAt(const CSignal& response, double frequency)
{
    std::complex<double> sum;
    for (std::size_t i = 0; i < response.size(); ++i)
        sum += response[i] * std::polar(1.0, -2.0 * std::numbers::pi * frequency * static_cast<double>(i));
    return std::abs(sum);
}

}

TEST(Resampling, CountsStagesAsTheReferenceDoes)
{
    for (const nlohmann::json& one : referenceCases("resampling", "oversampling_stages"))
    {
        const int want = one.at("out");
        EXPECT_EQ(CModResampler::stageCount(one.at("in").at("mode"), one.at("in").at("host_mode")), want);

        CResamplingBench bench;
        bench.set("oversampling", one.at("in").at("mode"));
        bench.set("host-oversampling-mode", one.at("in").at("host_mode"));
        bench.startAt(44100.0);
        bench.tap().heard.clear();
        EXPECT_EQ(bench.tap().sampleRate, 44100.0 * (1 << want)) << caseName(one);
        bench.run(CSignal(100, 1.0));
        EXPECT_EQ(bench.tap().heard.size(), 100u << want) << caseName(one);
    }
    EXPECT_EQ(CModResampler::stageCount(9.0, 0.0), CModResampler::maxStages);
    EXPECT_EQ(CModResampler::stageCount(0.0, -1.0), 0);
}

TEST(Resampling, MatchesTheReferenceUpAndBack)
{
    for (const char* fn : {"upsample", "round_trip"})
        for (const nlohmann::json& one : referenceCases("resampling", fn))
            for (const int block : {512, 1, 37})
            {
                const nlohmann::json& in = one.at("in");
                CResamplingBench bench(in.value("steep", "hbf106t20"), in.value("soft", "hbf116t4"));
                bench.start(44100.0, in.at("stages"), in.at("linear").get<bool>());
                const CSignal out = bench.run(referenceSignal(in.at("input")), block);
                const bool isUp = std::string(fn) == "upsample";
                expectSequence(one, strided(one, isUp ? bench.tap().heard : out), one.at("out"), sampleTolerance);
            }
}

TEST(Resampling, WalksTheLatencyOfTheReference)
{
    for (const nlohmann::json& one : referenceCases("resampling", "latency_walk"))
    {
        CResamplingBench bench;
        bench.start(44100.0, one.at("in").at("stages"), true);
        std::vector<int> walk;
        for (const char* end : {"modUpsampler", "modDownsampler"})
            for (CAudioProcessBase* inner : bench.nodesOf(end))
                walk.push_back(inner->output().channels()[0].latency);
        EXPECT_EQ(walk, one.at("out").get<std::vector<int>>()) << caseName(one);
        EXPECT_EQ(bench.host.latency(), walk.back());
    }
}

// What linear phase means: the response is symmetrical about the sample that the reported latency names.
TEST(Resampling, LinearPhasePeaksAtItsLatency)
{
    for (const double rate : rates)
        for (const int stages : {1, 2, 3})
        {
            CResamplingBench bench;
            bench.start(rate, stages, true);
            const int latency = bench.host.latency();
            ASSERT_EQ(latency, linearLatency[stages]);
            const CSignal out = bench.run(impulse(1200, 10));
            const auto peak = std::ranges::max_element(out, {}, [](double x) { return std::abs(x); }) - out.begin();
            ASSERT_EQ(peak, 10 + latency) << rate << " Hz, " << stages << " stages";
            for (std::ptrdiff_t k = 1; k <= latency; ++k)
            {
                const auto at = [&out](std::ptrdiff_t i) { return out[static_cast<std::size_t>(i)]; };
                ASSERT_NEAR(at(peak - k), at(peak + k), 1e-12) << k << " beside the peak";
            }
        }
}

TEST(Resampling, IsFlatOverTheAudibleRange)
{
    for (const bool isLinear : {true, false})
        for (const int stages : {1, 2, 3})
        {
            CResamplingBench bench;
            bench.start(44100.0, stages, isLinear);
            const CSignal response = bench.run(impulse(2400, 3));
            for (double hertz = 20.0; hertz < 18000.0; hertz *= 1.2)
                EXPECT_NEAR(decibel(responseAt(response, hertz / 44100.0)), 0.0, 0.1) << hertz << " Hz " << stages;
            EXPECT_NEAR(decibel(responseAt(response, 18000.0 / 44100.0)), 0.0, 0.1) << stages;
        }
}

// Tones at the high rate, which have no place at the low one. The half-bands' attenuation is what their names say.
TEST(Resampling, LetsNothingFoldBack)
{
    const struct
    {
        const char* steep;
        const char* soft;
        bool isLinear;
        double limitDb;
    } rows[] = {
        {"hbf106t20", "hbf116t4", true, -100.0},
        {"hbf106t20", "hbf116t4", false, -105.9},
        {"hbf80t20", "hbf116t4", false, -79.9},
        {"hbf53t20", "hbf62t4", false, -52.9},
    };
    for (const auto& row : rows)
        for (const int stages : {1, 2, 3})
        {
            CResamplingBench bench(row.steep, row.soft);
            bench.start(44100.0, stages, row.isLinear);
            const double highest = (1 << stages) / 2.0;                 // in low rates
            for (double place = 0.551; place < highest; place += row.isLinear ? 0.173 : 0.0871)
            {
                bench.tap().injectFrequency = place / (1 << stages);
                const CSignal out = bench.run(CSignal(1500));
                const double level = largestValue(part(out, 1100));
                EXPECT_LT(decibel(level), row.limitDb) << row.steep << " " << stages << " stages, tone at " << place;
            }
        }
}

TEST(Resampling, LeavesNoImages)
{
    for (const bool isLinear : {true, false})
        for (const int stages : {1, 2, 3})
            for (const double frequency : {0.05, 0.25, 0.4})
            {
                CResamplingBench bench;
                bench.start(44100.0, stages, isLinear);
                const std::size_t factor = std::size_t(1) << stages;
                bench.run(sine(4000, frequency, 1.0));
                // Everything but the tone itself, whose sine and cosine are taken out by least squares over whole
                // turns of it.
                const CSignal high = part(bench.tap().heard, 2000 * factor);
                CSignal rest = high;
                for (const double phase : {0.0, 0.25})
                {
                    const auto wave = [&](std::size_t i)
                    {
                        const double turns = frequency * static_cast<double>(i) / static_cast<double>(factor) + phase;
                        return std::sin(2.0 * std::numbers::pi * turns);
                    };
                    double share = 0.0;
                    for (std::size_t i = 0; i < high.size(); ++i)
                        share += 2.0 * high[i] * wave(i) / static_cast<double>(high.size());
                    for (std::size_t i = 0; i < rest.size(); ++i)
                        rest[i] -= share * wave(i);
                }
                EXPECT_LT(decibel(largestValue(rest)), -100.0) << isLinear << " " << stages << " " << frequency;
            }
}

// Stages come and go where the rate is highest; those that stay are the same nodes.
TEST(Resampling, KeepsTheStagesThatStay)
{
    CResamplingBench bench;
    bench.start(48000.0, 1, false);
    const auto filters = [&](const char* end)
    {
        std::string text;
        for (CAudioProcessBase* inner : bench.nodesOf(end))
            text += inner->definition().name().toUtf8() + " ";
        return text;
    };
    const auto up = bench.nodesOf("modUpsampler");
    const auto down = bench.nodesOf("modDownsampler");
    EXPECT_EQ(up[0]->name(), "main.modUpsampler.modInterpDecim");
    EXPECT_EQ(up[1]->name(), "main.modUpsampler.modFilter");
    bench.setStages(3);
    bench.run(noise(512));
    const std::string steep = "modResamplerFilterSteep ", soft = "modResamplerFilterSoft ";
    const std::string x2 = "modUpsamplerInterpolator ", half = "modDownsamplerDecimator ";
    EXPECT_EQ(filters("modUpsampler"), x2 + steep + x2 + soft + x2 + soft);
    EXPECT_EQ(filters("modDownsampler"), soft + half + soft + half + steep + half);
    for (const int stages : {3, 2, 1})
    {
        bench.setStages(stages);
        bench.run(noise(512));
        const auto nowUp = bench.nodesOf("modUpsampler");
        const auto nowDown = bench.nodesOf("modDownsampler");
        ASSERT_EQ(nowUp.size(), std::size_t(2 * stages));
        ASSERT_EQ(nowDown.size(), std::size_t(2 * stages));
        EXPECT_TRUE(std::equal(up.begin(), up.end(), nowUp.begin())) << stages;
        EXPECT_TRUE(std::equal(down.begin(), down.end(), nowDown.end() - 2)) << stages;
    }
}

TEST(Resampling, NeedsNoHeapOnceItRuns)
{
    for (const bool isLinear : {false, true})
        for (const int stages : {1, 2, 3})
        {
            CResamplingBench bench;
            bench.set("is-uniform", 1.0);
            bench.start(768000.0 / 8.0, stages, isLinear);
            bench.tap().keepsSamples = false;
            EXPECT_EQ(bench.faults(40, 20), 0u) << isLinear << " " << stages;
        }
}

}
