// SPDX-License-Identifier: GPL-3.0-or-later
#include "EqualizerTestKit.h"

#include "Support/CRealtimeGuard.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace kor::test
{
namespace
{

constexpr double rate = 48000.0;

/// The amplitude of a sine of this frequency in a stretch that holds whole periods of it.
double amplitudeOf(const CSignal& signal, double hz, std::size_t from)
{
    double re = 0.0;
    double im = 0.0;
    for (std::size_t i = from; i < signal.size(); ++i)
    {
        const double phase = 2.0 * std::numbers::pi * hz * static_cast<double>(i) / rate;
        re += signal[i] * std::cos(phase);
        im += signal[i] * std::sin(phase);
    }
    return 2.0 * std::hypot(re, im) / static_cast<double>(signal.size() - from);
}

CSignal delayed(const CSignal& signal, std::size_t samples)
{
    return part(joined(CSignal(samples, 0.0), signal), 0, signal.size());
}

}

TEST(Equalizer, DefaultsChangeNothingButTheNoise)
{
    CTestEqualizer equalizer;
    equalizer.start(2);
    const CSignals in = {0.5 * noise(5000, 1), 0.5 * noise(5000, 2)};
    CSignals out = equalizer.run(in);
    for (std::size_t c = 0; c < 2; ++c)
        for (std::size_t i = 0; i < in[c].size(); ++i)
            ASSERT_NEAR(std::abs(out[c][i] - in[c][i]), 1e-11, 1e-15) << c << " " << i;

    equalizer.set("denorm-enable", 0);
    EXPECT_EQ(equalizer.run(in), in);
    EXPECT_EQ(equalizer.latency(), 0);

    // Numbers that are kept for types to come.
    equalizer.setBand(0, 0, 19, 1000, 2.0);
    equalizer.setBand(0, 1, 20, 1000, 2.0);
    EXPECT_EQ(equalizer.run(in), in);
}

// A +12 dB bell on a sine at its centre: power ratio 15.85, so q = 0.0631, d = 2 dyn (1 - q) = 1.874, level = 0.241.
TEST(Equalizer, DynamicsSettleWhereTheirCurveSays)
{
    const double gain = std::pow(10.0, 12.0 / 20.0);
    const auto levelAt = [&](double dyn)
    {
        CTestEqualizer equalizer;
        equalizer.setBand(0, 0, 1, 1000, gain);
        equalizer.set("modMorvaEQ.eq-params.dyn", dyn);
        equalizer.start(2);
        const CSignal out = equalizer.run(sine(96000, 1000, rate, 0.5));
        return (amplitudeOf(out, 1000, 72000) / 0.5 - 1.0) / (gain - 1.0);
    };
    // The curve 24 / (d^4 + 3 d^3 + 6 d^2 + 12 d + 24), turned round.
    const auto depthOf = [](double level)
    {
        double low = 0.0;
        double high = 20.0;
        for (int i = 0; i < 200; ++i)
        {
            const double d = 0.5 * (low + high);
            (24.0 / ((((d + 3.0) * d + 6.0) * d + 12.0) * d + 24.0) > level ? low : high) = d;
        }
        return low;
    };
    EXPECT_NEAR(levelAt(0.0), 1.0, 1e-6);
    // The envelopes ripple a little with the sine, which the smoothing takes up in part.
    EXPECT_NEAR(levelAt(1.0), 0.241, 0.003);
    EXPECT_NEAR(depthOf(levelAt(1.0)), 1.874, 0.02);
    EXPECT_NEAR(1.0 - depthOf(levelAt(0.5)), 0.0631, 0.01);
}

// The detector of a group takes the louder of its channels, so that both get the same gain.
TEST(Equalizer, ChannelsOfAGroupShareTheirDynamics)
{
    for (const bool together : {true, false})
    {
        CTestEqualizer equalizer;
        equalizer.setAll("io-params.grouping", {0.0, together ? 0.0 : 1.0});
        for (const int group : {0, 1})
            equalizer.setBand(group, 0, 1, 1000, 4.0);
        equalizer.start(2);
        const CSignals out = equalizer.run(CSignals{sine(96000, 1000, rate, 0.5), 1e-3 * sine(96000, 3000, rate)});
        // A tone away from the bell's centre hears how far the band is closed by the other channel.
        const double right = amplitudeOf(out[1], 3000, 72000) / 1e-3;
        if (together)
        {
            EXPECT_LT(right, 1.04);
        }
        else
        {
            EXPECT_GT(right, 1.08);
        }
    }
}

TEST(Equalizer, BypassIsSmoothAndAligned)
{
    for (const double oversampling : {1.0, 2.0})
    {
        CTestEqualizer equalizer;
        equalizer.setBand(0, 0, 4, 1000, 2.0);
        equalizer.set("oversampling", oversampling);
        equalizer.set("lp-oversampling-enable", oversampling > 1.0);
        equalizer.set("denorm-enable", 0);
        equalizer.start(2);
        const CSignal in = sine(20000, 1000, rate, 0.5);
        const double step = 2.0 * 0.5 * 2.0 * std::numbers::pi * 1000.0 / rate; // of the louder, filtered sine
        equalizer.run(in);
        for (const double enable : {1.0, 0.0, 1.0})
        {
            equalizer.set("bypass-enable", enable);
            const CSignal out = equalizer.run(in, 100);
            EXPECT_LT(largestStep(out, 600), 1.05 * step);
            if (enable == 1.0)
            {
                EXPECT_EQ(difference(out, delayed(in, static_cast<std::size_t>(equalizer.latency())), 3000), 0.0);
            }
        }
    }
}

// With linear phase the whole is a delay of the same length whatever the factor and the rate.
TEST(Equalizer, LinearPhaseDelaysByItsLatency)
{
    for (const double testRate : {44100.0, 48000.0, 96000.0, 192000.0})
    {
        for (const double factor : {1.0, 2.0, 3.0, 4.0})
        {
            CTestEqualizer equalizer;
            equalizer.set("oversampling", factor);
            equalizer.set("lp-oversampling-enable", 1);
            equalizer.start(2, testRate);
            EXPECT_EQ(equalizer.latency(), 502);
            const CSignal out = equalizer.run(impulse(2048, 100));
            const auto peak = std::ranges::max_element(out, {}, [](double x) { return std::abs(x); });
            EXPECT_EQ(peak - out.begin(), 100 + 502) << testRate << " " << factor;
        }
    }
    CTestEqualizer halfBand;
    halfBand.set("oversampling", 4);
    halfBand.start(2);
    EXPECT_EQ(halfBand.latency(), 0);
}

// What happens to one band is not heard in another: a tone through a narrow filter far from the changed band.
TEST(Equalizer, BandsLeaveTheirNeighboursAlone)
{
    struct CCase
    {
        const char* what;
        const char* key;
        double value;
        int element;
    };
    const CCase cases[] = {
        {"a band more", "modMorvaEQ.eq-params.band-count", 4, 0},
        {"a band less", "modMorvaEQ.eq-params.band-count", 2, 0},
        {"noise off", "denorm-enable", 0, 0},
        {"another type", "modMorvaEQ.eq-params.mode", 6, 2},
        {"another type of dynamics", "modMorvaEQ.eq-params.mode", 2, 2},
    };
    for (const CCase& c : cases)
    {
        const auto stepOf = [&](bool change)
        {
            CTestEqualizer equalizer;
            equalizer.set("modMorvaEQ.eq-params.band-count", 3);
            equalizer.setBand(0, 0, 9, 300, 1.0);  // a low-pass with much memory
            equalizer.setBand(0, 1, 4, 100, 2.0, 0.3);
            equalizer.setBand(0, 2, 1, 15000, 1.001, 0.5); // the one that changes is next to nothing
            equalizer.setBand(0, 3, 0, 1000, 1.0);
            equalizer.start(2);
            const CSignal in = sine(9600, 100, rate, 0.5);
            equalizer.run(in);
            if (change)
                equalizer.set(c.key, c.value, 0, c.element);
            return largestStep(equalizer.run(in));
        };
        EXPECT_LT(stepOf(true), 1.01 * stepOf(false)) << c.what;
    }
}

TEST(Equalizer, SoloIsHeardAloneAndComesWithoutAStep)
{
    CTestEqualizer equalizer;
    equalizer.routeStraight(4);
    equalizer.setAll("io-params.grouping", {0, 1, 2, 3});
    equalizer.start(4);
    CSignals in;
    for (int c = 0; c < 4; ++c)
        in.push_back(sine(9600, 500, rate, 0.5));
    const double step = 0.5 * 2.0 * std::numbers::pi * 500.0 / rate;
    equalizer.run(in);
    const std::vector<std::vector<int>> solos = {{1}, {1, 3}, {3}, {}, {0}, {}};
    std::vector<bool> isOn(4, false);
    for (const std::vector<int>& solo : solos)
    {
        for (int g = 0; g < 4; ++g)
        {
            const bool on = std::ranges::find(solo, g) != solo.end();
            if (on != isOn[static_cast<std::size_t>(g)])
                equalizer.set("io-params.channel-group-solo", on, g);
            isOn[static_cast<std::size_t>(g)] = on;
        }
        const CSignals out = equalizer.run(in, 200);
        for (std::size_t c = 0; c < 4; ++c)
        {
            const bool sounds = solo.empty() || isOn[c];
            EXPECT_LT(largestStep(out[c]), 1.05 * step);
            EXPECT_LT(difference(out[c], sounds ? in[c] : constant(9600, 0), 4800), 1e-10) << "channel " << c;
        }
        EXPECT_EQ(equalizer.find("modGroupSolo") == nullptr, solo.empty());
    }
}

// Two channels of different groups coded as a pair: mid goes through the first one's bands, side through the second's,
// and left stays left.
TEST(Equalizer, PairsDecodeToTheirOwnSides)
{
    CTestEqualizer equalizer;
    equalizer.set("denorm-enable", 0);
    equalizer.routeStraight(4);
    equalizer.setAll("io-params.grouping", {1, 0, 2, 2});
    equalizer.setAll("io-params.ms-pairs", {1, 1, 3, 3});
    equalizer.start(4);
    const CSignals in = {noise(4000, 1), noise(4000, 2), noise(4000, 3), noise(4000, 4)};
    CSignals out = equalizer.run(in);
    for (std::size_t c = 0; c < 4; ++c)
        EXPECT_LT(difference(out[c], in[c]), 1e-15);

    equalizer.set("modOutGain.mute", 1, 0); // the group of side
    out = equalizer.run(in);
    const CSignal mid = 0.5 * (in[0] + in[1]);
    EXPECT_LT(difference(out[0], mid, 2000), 1e-10);
    EXPECT_LT(difference(out[1], mid, 2000), 1e-10);
    EXPECT_LT(difference(out[2], in[2]), 1e-15);
    EXPECT_LT(difference(out[3], in[3]), 1e-15);

    equalizer.set("io-params.ms-pairs", 0, 0, 1); // a lone member: both pass as they are, side's group is right's
    EXPECT_EQ(equalizer.find("modMSEncoder") != nullptr, true); // the other pair is complete
    out = equalizer.run(in);
    EXPECT_LT(difference(out[0], in[0], 2000), 1e-15);
    EXPECT_LT(largestValue(part(out[1], 2000)), 1e-10);
}

TEST(Equalizer, SurroundGoesWhereItIsRouted)
{
    CTestEqualizer equalizer;
    equalizer.set("denorm-enable", 0);
    equalizer.routeStraight(8);
    equalizer.setAll("io-params.grouping", {0, 0, 1, 3, 2, 2, 5, 5}); // fronts, centre, low end, surrounds; stereo
    for (const int group : {0, 1, 2, 3, 5})
        equalizer.set("modOutGain.gain", 1.0 + 0.25 * group, group);
    equalizer.start(8);
    CSignals in;
    for (unsigned c = 0; c < 8; ++c)
        in.push_back(noise(4000, c + 1));
    CSignals out = equalizer.run(in);
    const double gains[] = {1, 1, 1.25, 1.75, 1.5, 1.5, 2.25, 2.25};
    for (std::size_t c = 0; c < 8; ++c)
        EXPECT_LT(difference(out[c], gains[c] * in[c]), 1e-14) << c;

    // The low end's group loses its channel, and gets it back.
    equalizer.set("io-params.in-routing", 0, 0, 3);
    out = equalizer.run(in);
    EXPECT_EQ(largestValue(out[3]), 0.0);
    EXPECT_LT(difference(out[4], gains[4] * in[4]), 1e-14);
    equalizer.set("io-params.in-routing", 4, 0, 3);
    EXPECT_LT(difference(equalizer.run(in)[3], gains[3] * in[3]), 1e-14);

    // Two inputs on one channel are averaged; one channel goes to two outputs.
    equalizer.setAll("io-params.in-routing", {1, 1, 3, 4, 5, 6, 7, 8});
    equalizer.setAll("io-params.out-routing", {1, 1, 3, 4, 5, 6, 7, 8});
    out = equalizer.run(in);
    EXPECT_LT(difference(out[0], 0.5 * (in[0] + in[1])), 1e-14);
    EXPECT_EQ(out[0], out[1]);
}

// Eight groups of eight dynamic bands, and in every block a change of everything that may change without a rebuild.
TEST(Equalizer, SteadyStateTakesNoMemoryAndNoLock)
{
    constexpr int bands = 8;
    CTestEqualizer equalizer;
    equalizer.routeStraight(8);
    equalizer.setAll("io-params.grouping", {0, 1, 2, 3, 4, 5, 6, 7});
    for (int group = 0; group < 8; ++group)
    {
        equalizer.set("modMorvaEQ.eq-params.band-count", bands, group);
        for (int band = 0; band < bands; ++band)
            equalizer.setBand(group, band, (group + band) % 3 == 0 ? 3 : 1 + (group + band) % 2, 100.0 * (band + 1), 2.0);
    }
    equalizer.start(8);
    std::vector<CSignal> in(8, noise(512, 5));
    std::vector<CSignal> out(8, CSignal(512));
    std::vector<const double*> from;
    std::vector<double*> to;
    for (std::size_t c = 0; c < 8; ++c)
    {
        from.push_back(in[c].data());
        to.push_back(out[c].data());
    }
    int faults = 0;
    for (int block = 0; block < 200; ++block)
    {
        for (int group = 0; group < 8; ++group)
        {
            const int band = block % bands;
            equalizer.set("modMorvaEQ.eq-params.freq", 100.0 + 10.0 * block, group, band);
            equalizer.set("modMorvaEQ.eq-params.gain", 1.0 + 0.01 * (block % 50), group, band);
            equalizer.set("modMorvaEQ.eq-params.bw", 1.0 + 0.01 * (block % 50), group, band);
            equalizer.set("modMorvaEQ.eq-params.dyn", 0.01 * (block % 100), group, band);
            equalizer.set("modMorvaEQ.dyn-params.release", 0.05 + 0.001 * (block % 50), group);
            equalizer.set("modOutGain.gain", 1.0 + 0.001 * block, group);
        }
        equalizer.set("bypass-enable", block / 10 % 2);
        const CRealtimeGuard guard;
        equalizer.instance.graph().process(from.data(), to.data(), 8, 512);
        if (block >= 50) // by then every fade has been heard once
            faults += guard.faults();
        ASSERT_LT(largestValue(out[0]), 1e4);
    }
    EXPECT_EQ(faults, 0);
}

// Inputs that no converter sends: what comes out is finite, and clean again within a second.
TEST(Equalizer, RecoversFromWildInput)
{
    constexpr double inf = std::numeric_limits<double>::infinity();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double wild : {inf, -inf, nan, 1e300, -1e155, 1e80, 1e10})
    {
        CTestEqualizer spoiled;
        CTestEqualizer clean;
        for (CTestEqualizer* equalizer : {&spoiled, &clean})
        {
            for (int band = 0; band < 5; ++band)
                equalizer->setBand(0, band, 1 + band % 3, 300.0 * (band + 1), 2.0);
            equalizer->set("oversampling", 2);
            equalizer->start(2);
        }
        CSignal in = 0.25 * noise(512, 1);
        spoiled.run(in);
        clean.run(in);
        for (std::size_t i = 100; i < 400; i += 7)
            in[i] = wild;
        spoiled.run(in);
        clean.run(constant(512, 0));
        const CSignal second = 0.25 * noise(60000, 2);
        const CSignal out = spoiled.run(second);
        EXPECT_LT(difference(out, clean.run(second), 48000), 1e-6) << wild;
    }
}

TEST(Equalizer, BearsAnyRateAndBlock)
{
    for (const double testRate : {8000.0, 32000.0, 384000.0, 768000.0})
    {
        for (const int block : {1, 8192})
        {
            for (const double linear : {0.0, 1.0})
            {
                CTestEqualizer equalizer;
                for (int band = 0; band < 5; ++band)
                    equalizer.setBand(0, band, band + 1, 90.0 * std::pow(8.0, band), 4.0);
                equalizer.set("oversampling", 4);
                equalizer.set("lp-oversampling-enable", linear);
                if (linear == 1.0 && testRate > 384000.0) // said, and then goes on without the padding
                {
                    equalizer.instance.environment().isProcessing = true;
                    const int groups[] = {0, 0};
                    EXPECT_TRUE(equalizer.instance.graph().setLayout(groups, testRate));
                }
                equalizer.start(2, testRate);
                CSignal square(block == 1 ? 2000 : 16384);
                for (std::size_t i = 0; i < square.size(); ++i)
                    square[i] = i / 50 % 2 == 0 ? 1.0 : -1.0;
                EXPECT_LT(largestValue(equalizer.run(square, block)), 100.0) << testRate << " " << block;
                EXPECT_LT(largestValue(equalizer.run(constant(square.size(), 1.0), block)), 100.0);
            }
        }
    }
}

// A minute of silence behind music: nothing becomes denormal, with noise or without it.
TEST(Equalizer, SilenceIsNeverDenormal)
{
    for (const double noiseEnable : {0.0, 1.0})
    {
        CTestEqualizer equalizer;
        equalizer.set("denorm-enable", noiseEnable);
        for (int band = 0; band < 5; ++band)
            equalizer.setBand(0, band, 1 + band, 90.0 * std::pow(3.0, band), 4.0);
        equalizer.start(2);
        equalizer.run(noise(4800, 1));
        for (int second = 0; second < 60; ++second)
        {
            for (const double x : equalizer.run(constant(48000, 0.0), 4096))
                ASSERT_TRUE(x == 0.0 || std::isnormal(x)) << second;
        }
    }
}

}
