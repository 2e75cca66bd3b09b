// SPDX-License-Identifier: GPL-3.0-or-later
#include "CResamplingBench.h"
#include "Support/ReferenceCases.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kor::test
{

namespace
{

const char* const table = "44100=502;48000=502;88200=502;96000=502;176400=502;192000=502;352800=502;384000=502";

// A graph whose node meets the latency that a test sets.
struct CLateBench : CRunningGraph
{
    explicit CLateBench(const char* tag, CAttrs attrs = {}) : CRunningGraph(lateGraph(tag, std::move(attrs)), {}) {}

    /// Success, or the message of what came up.
    std::string startBehind(int latency, double rateHz)
    {
        set("late.samples", latency);
        const int group = 0;
        return host.setLayout({&group, 1}, rateHz).message();
    }
};

/// Why a tree of this definition alone does not load.
std::string failureOf(const char* tag, CAttrs attrs)
{
    CTreeNode alone;
    alone.children = {lateGraph(tag, std::move(attrs)).children.back().children.back()};
    return CTestTree(alone).loadFailure();
}

}

TEST(LatencyUniformer, AddsWhatTheReferenceAdds)
{
    for (const nlohmann::json& one : referenceCases("resampling", "uniformer"))
    {
        const nlohmann::json& want = one.at("out");
        const double rate = one.at("in").at("rate");
        const int latency = one.at("in").at("latency");
        CLateBench bench("audio:modLatencyUniformer", {{"latencies", table}});
        const std::string message = bench.startBehind(latency, rate);
        if (want.at("error").is_null())
            EXPECT_EQ(message, "") << caseName(one);
        else if (want.at("error") == "rate")
            EXPECT_EQ(message, "Unsupported sample rate 384001.000000 in LatencyUniformer");
        else
            EXPECT_EQ(message, "Too high latency 503 at sample rate 96000.000000 in LatencyUniformer");

        EXPECT_EQ(bench.host.latency(), want.at("total").get<int>()) << caseName(one);
        const std::size_t delay = want.at("delay");
        EXPECT_EQ(bench.run(impulse(1000), 100), impulse(1000, delay)) << caseName(one);
        EXPECT_FALSE(bench.host.takeError()) << caseName(one) << ": once per configuration";
    }
}

TEST(LatencyUniformer, FadesToANewDelayUnderTheSameTotal)
{
    CLateBench bench("audio:modLatencyUniformer", {{"latencies", table}});
    ASSERT_EQ(bench.startBehind(386, 48000.0), "");
    int before = 386;
    for (const int latency : {463, 502, 386, 600, 10})
    {
        const CSignal in = sine(6000, 200.0, 48000.0);
        bench.run(in);
        bench.set("late.samples", latency);
        const CSignal out = bench.run(in);
        const int delay = latency <= 502 ? 502 - latency : 0;
        EXPECT_EQ(bench.host.latency(), latency + delay);
        // Both taps at full slope, and what the fade itself adds.
        const double fastest = 2.0 * std::numbers::pi * 200.0 / 48000.0 + 2.0 * std::numbers::pi / 2.0 / 720.0;
        EXPECT_LT(largestStep(out), 1.01 * fastest) << before << " to " << latency;
        const auto shift = static_cast<std::size_t>(delay);
        EXPECT_EQ(part(out, 1300), part(in, 1300 - shift, in.size() - shift)) << latency;
        before = latency;
        EXPECT_EQ(bool(bench.host.takeError()), latency > 502);
    }
}

TEST(LatencyUniformer, RefusesABadTable)
{
    const std::pair<const char*, const char*> rows[] = {
        {"44100", "Invalid item '44100' in 'latencies'."},
        {"=502", "Invalid item '=502' in 'latencies'."},
        {"44100=many", "Invalid item '44100=many' in 'latencies'."},
        {"44100=-1", "Invalid item '44100=-1' in 'latencies'."},
        {"48000=5; 44100=5", "The rates in 'latencies' do not rise at '44100=5'."},
    };
    for (const auto& [text, message] : rows)
    {
        const std::string failure = failureOf("audio:modLatencyUniformer", {{"latencies", text}});
        EXPECT_NE(failure.find(message), std::string::npos) << failure;
    }
}

// The half of an odd latency: a sample's delay first, which comes and goes without a click.
TEST(Decimator, AlignsAnOddLatency)
{
    CSignal in = sine(8192, 93.75, 96000.0);            // whole turns: run after run without a step
    std::rotate(in.begin(), in.begin() + 128, in.end());        // an eighth: neither value nor slope is 0 at the change
    CLateBench bench("audio:modDecimator");
    ASSERT_EQ(bench.startBehind(0, 96000.0), "");
    for (const int latency : {0, 1003, 1002, 7, 9})
    {
        const std::size_t shift = static_cast<std::size_t>(latency & 1);
        bench.set("late.samples", latency);
        const CSignal out = bench.run(in, 512);
        EXPECT_EQ(bench.host.latency(), (latency + 1) / 2);
        // Of every block the first half of what comes out; 15 ms are 1440 samples.
        for (std::size_t at = 0; at < in.size(); at += 2)
        {
            const std::size_t place = at / 512 * 512 + at % 512 / 2;
            if (at >= 1440)
            {
                ASSERT_EQ(out[place], in[at - shift]) << latency << " at " << at;
            }
            else if (at % 512 > 0)
            {
                ASSERT_LT(std::abs(out[place] - out[place - 1]), 0.014) << latency << " at " << at;
            }
        }
    }
}

TEST(Resampling, NeedsItsParts)
{
    const std::string failure = failureOf("audio:modResampler", {{"is-upsampler", "true"}});
    const char* const message = "The process definition 'shared::audio.modUpsamplerInterpolator' was not found.";
    EXPECT_NE(failure.find(message), std::string::npos) << failure;
}

}
