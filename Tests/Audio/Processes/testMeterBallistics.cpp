// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CMeterBallistics.h"
#include "MeteringTestKit.h"
#include "Support/ReferenceCases.h"
#include "Support/Signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kor::test
{

namespace
{

using nlohmann::json;

std::vector<CMeterReading> readings(CMeterBallistics& meter, const CSignal& x, const CSignal& y = {})
{
    std::vector<CMeterReading> all;
    const std::size_t size = x.size();
    for (std::size_t at = 0, piece = 1; at < size; ++piece)
    {
        // Cut anywhere, and at the frames' ends.
        const int wanted = static_cast<int>(std::min(piece * 37 % 211 + 1, size - at));
        const int count = std::min(wanted, meter.remaining());
        if (meter.process(x.data() + at, y.empty() ? nullptr : y.data() + at, count))
            all.push_back(meter.endFrame());
        at += static_cast<std::size_t>(count);
    }
    return all;
}

CMeterBallistics meterOf(const CMeterKind& kind, const CMeterSettings& settings, double rateHz, double fps = 30.0)
{
    CMeterBallistics meter;
    meter.prepare(kind, rateHz, fps);
    meter.update(settings);
    meter.reset();
    return meter;
}

}

TEST(MeterBallistics, CutsFramesAndWindowsAsTheReference)
{
    for (const json& testCase : referenceCases("meter", "meter_config"))
    {
        const json& in = testCase.at("in");
        CMeterSettings settings;
        settings.peakTime = in.at("peak_time");
        const CMeterBallistics meter = meterOf({}, settings, in.at("sr"), in.at("fps"));
        EXPECT_EQ(meter.frameLength(), testCase.at("out").at("frame_length")) << caseName(testCase);
        EXPECT_EQ(meter.ringSize(), testCase.at("out").at("ring_size")) << caseName(testCase);
    }
}

TEST(MeterBallistics, ShowsEveryFrameAsTheReference)
{
    for (const json& testCase : referenceCases("meter", "meter"))
    {
        const CMeterCase read = meterCase(testCase);
        CMeterBallistics meter = meterOf(read.kind, read.settings, read.rateHz, read.framesPerSecond);
        const json& out = testCase.at("out");
        EXPECT_EQ(meter.frameLength(), out.at("frame_length"));
        EXPECT_EQ(meter.ringSize(), out.at("ring_size"));
        for (const auto& [name, got] : {std::pair("k_rms", meter.rmsCoefficient()),
                                        std::pair("k_release", meter.releaseCoefficient()),
                                        std::pair("k_bias", meter.biasCoefficient())})
            EXPECT_NEAR(got, out.at(name).get<double>(), 1e-7 * out.at(name).get<double>())
                << caseName(testCase) << name;

        std::vector<CMeterPost> posts;
        for (const CMeterReading& reading : readings(meter, read.input, read.input2))
        {
            const double middle = (static_cast<double>(posts.size()) + 0.5) * meter.frameLength() / read.rateHz;
            posts.push_back({middle, reading.value, reading.peak});
        }
        expectPosts(testCase, posts, out.at("posts"));
    }
}

// One loud sample: its frame shows it, and then as many frames as the window has. The next loudest follows.
TEST(MeterBallistics, HoldsAPeakForItsWindowAndThenFallsToTheNextOne)
{
    CMeterSettings settings;
    settings.rmsTime = 5.0;
    CMeterBallistics meter = meterOf({}, settings, 48000.0);
    ASSERT_EQ(meter.ringSize(), 30);
    constexpr std::size_t frame = 1600;
    CSignal signal(80 * frame, 0.0);
    signal[2 * frame + 700] = 1.0;
    signal[20 * frame + 3] = -0.5;
    const std::vector<CMeterReading> shown = readings(meter, signal);
    ASSERT_EQ(shown.size(), 80u);
    int loud = 0;
    int half = 0;
    for (const CMeterReading& reading : shown)
    {
        loud += reading.peak == 1.0 ? 1 : 0;
        half += reading.peak == 0.5 ? 1 : 0;
    }
    EXPECT_EQ(loud, 31);
    EXPECT_EQ(half, 20 + 30 - (2 + 31)); // it leaves with its own frame, 30 behind the one where it came
    EXPECT_EQ(shown[2].peak, 1.0);
    EXPECT_LT(shown[60].peak, 0.5);

    // Another window finds what the frames have held, as far as they reach back.
    meter.reset();
    readings(meter, part(signal, 0, 25 * frame));
    const auto peakNow = [&](double seconds)
    {
        settings.peakTime = seconds;
        meter.update(settings);
        return readings(meter, CSignal(frame, 0.0)).front().peak;
    };
    EXPECT_EQ(peakNow(0.2), 0.5);
    EXPECT_EQ(peakNow(10.0), 1.0);
    EXPECT_LT(peakNow(0.05), 0.5);
}

struct SineCase
{
    double rmsTime, release, level;
};
const SineCase kSineCases[] = {
    {0.1, 0.5, 0.708}, // the RMS value, but for the ripple that the instant rise picks up
    {0.002, 0.75, 0.768}, // what the product is set to: fast enough to ride on the sine
    {0.1, 0.0, std::numbers::sqrt2 / 2}, // without release the level is the running power
};

TEST(MeterBallistics, ReadsTheLevelOfASine)
{
    for (const SineCase& t : kSineCases)
    {
        CMeterSettings settings;
        settings.rmsTime = t.rmsTime;
        settings.release = t.release;
        CMeterBallistics meter = meterOf({}, settings, 48000.0);
        const CMeterReading last = readings(meter, sine(240000, 997.0, 48000.0)).back();
        EXPECT_NEAR(last.value, t.level, 0.001) << t.rmsTime << " s, release " << t.release;
        EXPECT_NEAR(last.peak, 1.0, 1e-4);
    }
}

TEST(MeterBallistics, StandsAtZeroDecibelsForSilenceOnBothSidesOfARatio)
{
    CMeterBallistics meter = meterOf({.isDiff = true}, {}, 44100.0);
    const CSignal loud = noise(44100);
    const CSignal silence(44100 * 3, 0.0);
    const std::vector<CMeterReading> shown = readings(meter, joined(loud, silence), joined(0.1 * loud, silence));
    EXPECT_NEAR(shown[29].value, 10.0, 1e-6);
    EXPECT_NEAR(shown.back().value, 1.0, 1e-9);
}

// What was no number is gone with its frame.
TEST(MeterBallistics, RecoversFromWhatIsNoNumber)
{
    for (const CMeterKind& kind : {CMeterKind{}, CMeterKind{.isDiff = true}, CMeterKind{.isCompression = true}})
    {
        CMeterBallistics meter = meterOf(kind, {.rmsTime = 0.002}, 48000.0);
        CSignal bad = constant(9600, 0.5);
        bad[100] = NAN;
        bad[200] = INFINITY;
        const CMeterReading last = readings(meter, bad, constant(9600, 0.5)).back();
        EXPECT_NEAR(last.value, kind.isDiff ? 1.0 : 0.5, 1e-6);
        EXPECT_TRUE(std::isfinite(last.peak));
    }
}

}
