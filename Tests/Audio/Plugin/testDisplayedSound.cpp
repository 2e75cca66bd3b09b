// SPDX-License-Identifier: GPL-3.0-or-later
// What the running product shows of its sound: meters and spectra, where they stand and whose settings they follow.
#include "Audio/Processes/CModMeter.h"
#include "EqualizerTestKit.h"
#include "Support/CVizReader.h"

#include <algorithm>
#include <numbers>

namespace kor::test
{
namespace
{

constexpr double rate = 48000.0;
constexpr int peaking = 1;

class CWatchedEqualizer : public CTestEqualizer
{
public:
    CWatchedEqualizer()
    {
        viz.collector = &instance.viz();
        viz.prefix = "plugin.modMain.";
    }

    /// Nodes of a name that run, anywhere.
    int count(const char* name) const
    {
        int found = 0;
        const CStringBuf wanted(viz.prefix + name);
        const std::function<void(CAudioProcessBase&)> visit = [&](CAudioProcessBase& node)
        {
            found += node.name() == wanted ? 1 : 0;
            node.visitRunning(visit);
        };
        visit(*instance.graph().rootProcess());
        return found;
    }

    /// Runs and fetches as a window does.
    CSignals runWatched(const CSignals& in)
    {
        CSignals out(in.size());
        for (std::size_t at = 0; at < in[0].size(); at += 1024)
        {
            const CSignals piece = run(part(in, at, at + 1024));
            for (std::size_t c = 0; c < in.size(); ++c)
                out[c] = joined(out[c], piece[c]);
            viz.read();
        }
        return out;
    }

    CVizReader viz;
};

}

TEST(DisplayedSound, ShowsLevelsBehindTheOutputGainWhateverTheOversampling)
{
    for (const int oversampling : {1, 3})
    {
        CWatchedEqualizer equalizer;
        equalizer.set("oversampling", oversampling);
        equalizer.set("modOutGain.gain", 0.5);
        equalizer.start(2);
        equalizer.run(CSignals(2, CSignal(4800)));
        EXPECT_EQ(equalizer.count("modMeterOut") + equalizer.count("modMeterIODiff"), 0);
        equalizer.viz.listen("modMeterOut");
        equalizer.viz.listen("modMeterIODiff");
        const CSignal in = sine(480000, 997.0, rate);
        equalizer.runWatched({in, 0.5 * in});
        for (const auto& [channel, level] : {std::pair(0, 0.5), std::pair(1, 0.25)})
        {
            const auto out = equalizer.viz.meters("modMeterOut", channel);
            ASSERT_NEAR(static_cast<double>(out.size()), 300.0, 1.0);
            EXPECT_NEAR(out.back()->value, 0.768 * level, 0.001 * level);
            EXPECT_NEAR(out.back()->peak, level, 1e-3 * level);
            EXPECT_NEAR(out.back()->time, equalizer.instance.environment().time - 0.5 / 30.0, 1.0 / 30.0 + 1e-9);
            EXPECT_NEAR(equalizer.viz.meters("modMeterIODiff", channel).back()->value, 0.5, 1e-3);
        }
        equalizer.viz.unlisten("modMeterOut");
        equalizer.viz.unlisten("modMeterIODiff");
        equalizer.run(CSignals(2, CSignal(512)));
        EXPECT_EQ(equalizer.count("modMeterOut") + equalizer.count("modMeterIODiff"), 0);
    }
}

// A dynamic band of any group has its meter while somebody looks, follows the meter times that the user sets for all,
// and another type of band gets one of its own.
TEST(DisplayedSound, ShowsTheControlSignalOfEveryDynamicBand)
{
    const char* slot = "modMorvaEQ.modFilter.modMeterEnv";
    for (const bool listensEarly : {true, false})
    {
        CWatchedEqualizer equalizer;
        if (listensEarly)
            equalizer.viz.listen(slot);
        equalizer.routeStraight(4);
        equalizer.setBand(1, 2, peaking, 1000.0, 4.0);
        equalizer.start(4);
        const CSignals in(4, 0.3 * sine(9600, 1000.0, rate));
        equalizer.runWatched(in);
        EXPECT_EQ(equalizer.count(slot), listensEarly ? 1 : 0);
        if (!listensEarly)
            equalizer.viz.listen(slot);
        equalizer.viz.forget();
        equalizer.runWatched(in);
        ASSERT_EQ(equalizer.count(slot), 1);
        EXPECT_EQ(equalizer.viz.meters(slot).size(), 12u);
        EXPECT_EQ(equalizer.viz.meters(slot, 2, 2, 1).size(), 6u);
        // The bell raises all there is by 12 dB, so the band has moved towards the dry sound.
        const auto shown = equalizer.viz.meters(slot, 3, 2, 1);
        ASSERT_EQ(shown.size(), 6u);
        EXPECT_LT(shown.back()->value, 0.5);

        equalizer.set("meter-peaktime", 0.5);
        equalizer.run(in);
        auto& meter = dynamic_cast<CModMeter&>(*equalizer.find(slot));
        EXPECT_EQ(static_cast<CModMeterModule&>(*meter.findModule(2)).meter().ringSize(), 15);

        for (const int mode : {2, 3, 5, 6})
        {
            equalizer.set("modMorvaEQ.eq-params.mode", mode, 1, 2);
            equalizer.viz.forget();
            equalizer.runWatched(in);
            EXPECT_EQ(equalizer.count(slot), 1) << mode;
            EXPECT_GE(equalizer.viz.meters(slot).size(), 10u) << mode;
        }
        equalizer.viz.unlisten(slot);
        equalizer.run(in);
        EXPECT_EQ(equalizer.count(slot), 0);
    }
}

// More bands than a block takes in: none is forgotten, from the first block on or later, in or out.
TEST(DisplayedSound, ShowsEveryBandOfManyInTheEnd)
{
    const char* slot = "modMorvaEQ.modFilter.modMeterEnv";
    for (const bool listensEarly : {true, false})
    {
        CWatchedEqualizer equalizer;
        equalizer.routeStraight(4);
        for (const int group : {0, 1})
        {
            equalizer.set("modMorvaEQ.eq-params.band-count", 12, group);
            for (int band = 0; band < 12; ++band)
                equalizer.setBand(group, band, peaking, 100.0 * (band + 1), 2.0);
        }
        if (listensEarly)
            equalizer.viz.listen(slot);
        equalizer.start(4);
        const CSignals in(4, noise(512 * 10));
        equalizer.run(in);
        EXPECT_EQ(equalizer.count(slot), listensEarly ? 24 : 0);
        if (!listensEarly)
            equalizer.viz.listen(slot);
        equalizer.run(in);
        EXPECT_EQ(equalizer.count(slot), 24);
        equalizer.viz.unlisten(slot);
        equalizer.run(in);
        EXPECT_EQ(equalizer.count(slot), 0);
    }
}

TEST(DisplayedSound, ShowsASpectrumWithTheSettingsOfItsGroup)
{
    CWatchedEqualizer equalizer;
    equalizer.routeStraight(4);
    const std::string folder = "modMorvaEQ.spectrum-params.";
    equalizer.set(folder + "avgtime", 0.2, 0);
    equalizer.set(folder + "avgtime", 0.3, 1);
    equalizer.set(folder + "block-size", 6, 1);
    equalizer.set(folder + "secenable", 1, 1);
    equalizer.start(4);
    for (const char* slot : {"modSpectrum", "modSpectrum-sec"})
        equalizer.viz.listen(slot);
    const std::size_t bin = 100;
    const CSignal tone = sine(144000, bin * rate / 2048.0, rate, 0.5);
    const CSignals out = equalizer.runWatched({tone, tone, tone, tone});
    EXPECT_LT(difference(out[0], tone), 1e-10);
    for (const int channel : {0, 1, 2, 3})
    {
        const int blockSize = channel < 2 ? 2048 : 4096;
        const auto shown = equalizer.viz.spectra("modSpectrum", channel);
        ASSERT_GT(shown.size(), 50u);
        EXPECT_EQ(shown.back()->blockSize, blockSize);
        EXPECT_EQ(shown.back()->averageTime, channel < 2 ? 0.2 : 0.3);
        const auto& values = shown.back()->values;
        const auto loudest = static_cast<std::size_t>(std::ranges::max_element(values) - values.begin());
        EXPECT_EQ(loudest, bin * static_cast<std::size_t>(blockSize) / 2048);
        EXPECT_NEAR(values[loudest], 0.25 * std::numbers::sqrt2, 1e-6);
        EXPECT_EQ(equalizer.viz.spectra("modSpectrum-sec", channel).empty(), channel < 2);
    }

    const auto runs = [&] { return equalizer.count("modSpectrum"); };
    equalizer.run(CSignals(4, CSignal(512)));
    EXPECT_EQ(runs(), 3); // the stack, and in it one for each group
    equalizer.set(folder + "disable", 1);
    equalizer.run(CSignals(4, CSignal(512)));
    EXPECT_EQ(runs(), 0);
    equalizer.set(folder + "disable", 0);
    equalizer.run(CSignals(4, CSignal(512)));
    EXPECT_EQ(runs(), 3);
}

}
