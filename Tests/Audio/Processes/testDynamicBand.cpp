// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModMorvaEnvEQ.h"
#include "CBandBench.h"

#include <algorithm>
#include <cmath>

namespace kor::test
{

namespace
{

constexpr double rate = 48000.0;

nlohmann::json bell(double dyn, bool isInverted, double linking = 1.0)
{
    return {{"mode", 1},       {"freq", 1000.0},       {"gain", 4.0},         {"bw", 1.0},
            {"attack", 0.005}, {"release", 0.1},       {"env_attack", 0.001}, {"env_release", 0.1},
            {"dyn", dyn},      {"invert", isInverted}, {"linking", linking}};
}

CSignals processBand(const nlohmann::json& in, double rateHz, const CSignals& channels,
                                 const char* node = "modSignalMix", int block = 0)
{
    CBandBench bench = CBandBench::band(node, in.at("linking"));
    bench.startAt(rateHz, channels.size());
    bench.setBand(in);
    return bench.run(channels, block);
}

class COpenDetectors : public CModMorvaEnvEQ
{
public:
    using CModMorvaEnvEQ::processSteady;
};

CSignal rectifiedNoise(std::size_t count)
{
    CSignal signal = noise(count);
    for (double& x : signal)
        x = std::abs(x);
    return signal;
}

}

TEST(DynamicBand, FollowsTheReference)
{
    for (const auto& testCase : referenceCases("dynamics", "band"))
    {
        CSignals channels;
        for (const auto& channel : testCase["in"]["channels"])
            channels.push_back(referenceSignal(channel));
        const auto compare = [&](const char* node, const char* what)
        {
            const CSignals out = processBand(testCase["in"], testCase["in"]["sr"], channels, node);
            for (std::size_t c = 0; c < out.size(); ++c)
                expectSequence(testCase, strided(testCase, out[c]), testCase["out"][what][c], sampleTolerance, what);
        };
        compare("modEnv", "control");
        compare("modSignalMix", "output");
    }
}

TEST(DynamicBand, GivesTheSameForAnyBlock)
{
    const CSignals in = {noise(4000, 1), 0.3 * noise(4000, 2)};
    for (const double linking : {0.0, 0.5, 1.0})
    {
        const CSignals want = processBand(bell(2.0, false, linking), rate, in);
        for (const int block : {1, 17, 64})
        {
            const CSignals got = processBand(bell(2.0, false, linking), rate, in, "modSignalMix", block);
            for (std::size_t c = 0; c < in.size(); ++c)
                EXPECT_LE(difference(got[c], want[c]), 1e-12) << "linking " << linking << ", block " << block;
        }
    }
}

TEST(DynamicBand, WithoutDynamicsIsItsFilterOrNothing)
{
    const CSignals in = {noise(9600, 1), noise(9600, 2)};
    const CSignals filtered = processBand(bell(0.0, false), rate, in, "modFilter");
    const CSignals band = processBand(bell(0.0, false), rate, in);
    const CSignals inverted = processBand(bell(0.0, true), rate, in);
    for (std::size_t c = 0; c < in.size(); ++c)
    {
        EXPECT_GT(difference(filtered[c], in[c]), 0.1);
        EXPECT_LE(difference(band[c], filtered[c]), 1e-14);
        EXPECT_EQ(inverted[c], in[c]);
    }
}

// Far below the floor of the divisors the ratio is 0, so that the position is the curve of twice the dynamics.
TEST(DynamicBand, FallsToTheCurveInSilenceAndComesBack)
{
    CBandBench bench = CBandBench::band("modEnv");
    bench.startAt(rate, 1);
    nlohmann::json settings = bell(1.0, false);
    settings["release"] = 0.04;
    bench.setBand(settings);
    const CSignal far = 0.5 * sine(48000, 20.0, rate); // where the bell does nothing
    EXPECT_GT(bench.run(far).back(), 0.95);
    const CSignal silent = bench.run(CSignal(96000));
    EXPECT_NEAR(silent.back(), 24.0 / (16.0 + 24.0 + 24.0 + 24.0 + 24.0), 1e-6);
    EXPECT_GT(bench.run(far).back(), 0.95);
}

// A channel whose position was copied from another goes on from there when they part.
TEST(DynamicBand, GoesOnWhereLinkedChannelsStood)
{
    const CSignal signal = noise(9600, 1);
    CSignal outputs[2];
    for (std::size_t channels = 1; channels <= 2; ++channels)
    {
        CBandBench bench = CBandBench::band("modEnv");
        bench.startAt(rate, channels);
        bench.setBand(bell(1.0, false));
        const CSignals in(channels, signal);
        bench.run(in);
        for (const char* leveler : {"modLevelerIn", "modLevelerFlt"})
            bench.set(std::string(leveler) + ".linking", 0.0);
        outputs[channels - 1] = bench.run(in).back();
    }
    EXPECT_LE(difference(outputs[0], outputs[1]), 1e-12);
}

// What a host gives is limited where it comes in; a filter in front may overflow all the same.
TEST(DynamicBand, RecoversFromWhatIsNoNumber)
{
    const CSignal sound = rectifiedNoise(512);
    for (const double wrong : std::vector<double>{INFINITY, NAN, 1e200})
        for (const std::size_t channels : {1u, 2u, 3u})
        {
            CSignal broken = sound;
            broken[100] = wrong;
            CModMorvaEnvEQModule modules[3];
            const auto process = [&](const CSignal& signal)
            {
                // The first two channels differ, the third is the first again.
                const double* inputs[][2] = {
                    {signal.data(), sound.data()}, {signal.data(), sound.data() + 1}, {signal.data(), sound.data()}};
                CSignals out(channels, CSignal(511));
                std::vector<CAudioModuleRun> runs;
                for (std::size_t c = 0; c < channels; ++c)
                    runs.push_back({&modules[c], inputs[c], out[c].data()});
                COpenDetectors().processSteady(runs, 511);
                return out;
            };
            process(broken);
            for (const CSignal& out : process(sound))
                EXPECT_LT(largestValue(out), 2.0) << wrong << ", channels " << channels;
        }
}

TEST(DynamicBand, ScalesTheMixInDecibels)
{
    for (const auto& testCase : referenceCases("dynamics", "mix_gain"))
    {
        CBandBench bench = CBandBench::node(
            "modSignalMix",
            {{"*", "modSignalMix/0"}, {"*", "modSignalMix/1"}, {"*", "modSignalMix/2"}, {"modSignalMix", "*"}});
        bench.startAt(rate, 1);
        bench.set("modSignalMix.gain", testCase["in"]["gain"]);
        bench.set("modSignalMix.db-mult", testCase["in"]["db_mult"]);
        bench.set("modSignalMix.db-mult2", testCase["in"]["db_mult2"]);
        bench.restart();
        expectNumber(testCase, bench.run(CSignal(100, 1.0)).back(), testCase["out"]);
    }
}

TEST(DynamicBand, PassesTheWetSignalWhenTheMixIsNotWired)
{
    using CLinks = CBandBench::CLinks;
    for (const CLinks& links : {CLinks{{"*", "modSignalMix/0"}, {"modSignalMix", "*"}},
                                CLinks{{"*", "modSignalMix/0"}, {"*", "modSignalMix/1"}, {"modSignalMix", "*"}},
                                CLinks{{"*", "modSignalMix/0"}, {"*", "modSignalMix/2"}, {"modSignalMix", "*"}}})
    {
        CBandBench bench = CBandBench::node("modSignalMix", links);
        bench.startAt(rate, 2);
        bench.set("modSignalMix.gain", 3.0);
        bench.restart();
        const CSignals in = {noise(600, 1), noise(600, 2)};
        EXPECT_EQ(bench.run(in), in) << links.size();
    }
}

TEST(DynamicBand, TakesChangesOfEverythingWithoutTouchingTheHeap)
{
    CBandBench bench = CBandBench::band();
    bench.startAt(rate, 2);
    bench.setBand(bell(1.0, false));
    const struct
    {
        const char* name;
        double from, to;
    } rows[] = {
        {"modFilter.freq", 100.0, 10000.0},  {"modFilter.gain", 0.1, 10.0},       {"modEnv.invert", 0.0, 1.0},
        {"modEnv.attack", 0.0001, 0.04},     {"modEnv.release", 0.04, 1.0},       {"modEnv.dyn", 0.0, 10.0},
        {"modEnv.env-attack", 0.0001, 0.04}, {"modEnv.env-release", 0.04, 1.0},   {"modLevelerIn.mode", 0.0, 1.0},
        {"modLevelerIn.mix", 0.0, 1.0},      {"modLevelerIn.linking", 0.0, 1.0},  {"modLevelerFlt.linking", 0.0, 1.0},
        {"modSignalMix.gain", 0.5, 2.0},     {"modSignalMix.db-mult", -3.0, 3.0}, {"modSignalMix.db-mult2", -0.5, 0.5}};
    const auto change = [&](int block)
    {
        int row = 0;
        for (const auto& param : rows)
            bench.set(param.name, param.from + (param.to - param.from) * ((block * 5 + row++) % 11) / 10.0);
        return true;
    };
    EXPECT_EQ(bench.faults(500, 100, change), 0u);
}

}
