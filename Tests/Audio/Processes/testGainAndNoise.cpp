// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CDenormNoise.h"
#include "Audio/Processes/CDenormNoiseKernel.h"
#include "CNodeBench.h"
#include "Support/ReferenceCases.h"

#include <cmath>

namespace kor::test
{

namespace
{

constexpr double noiseLevel = 1e-11;

CTreeNode gainNode()
{
    return node("audio:modGain", "gain", {{"is-smooth-update", "true"}},
                {globalParam("gain", 1), slot("gain", 0), globalParam("mute"), slot("mute", 1), globalParam("invert"),
                 slot("invert", 2)});
}

std::string signsOf(const CSignal& signal)
{
    std::string signs;
    for (const double x : signal)
        signs += x == noiseLevel ? '+' : x == -noiseLevel ? '-' : '?';
    return signs;
}

}

TEST(DenormNoise, FollowsTheReference)
{
    for (const auto& testCase : referenceCases("misc", "denormal_noise"))
    {
        CDenormNoise noise;
        noise.seed = testCase["in"]["seed"];
        CSignal samples(testCase["in"]["count"].get<std::size_t>());
        noise.fill(samples.data(), static_cast<int>(samples.size()));
        EXPECT_EQ(signsOf(samples), testCase["out"]["signs"].get<std::string>()) << caseName(testCase);
        EXPECT_EQ(noise.seed, testCase["out"]["final_seed"].get<std::uint32_t>()) << caseName(testCase);
    }
}

TEST(DenormNoise, EveryBuildGivesTheSameBits)
{
    for (const CDenormNoiseKernel* kernel : allDenormNoiseKernels())
        for (int count = 0; count <= 70; ++count)
        {
            const CSignal in = noise(static_cast<std::size_t>(count) + 1, 5);
            CSignal added = in;
            CSignal alone = in;
            const std::uint32_t start = 4000000000u + static_cast<std::uint32_t>(count);
            const std::uint32_t end = kernel->add(start, added.data(), added.data(), count);
            EXPECT_EQ(kernel->fill(start, nullptr, alone.data(), count), end);
            std::uint32_t seed = start;
            for (int i = 0; i < count; ++i)
            {
                const auto at = static_cast<std::size_t>(i);
                seed = seed * 30013u + 30011u;
                const double sample = (seed & 0x800000u) * 2.384185791015625e-18 - 1e-11;
                ASSERT_EQ(added[at], in[at] + sample) << kernel->name << " " << i << " of " << count;
                ASSERT_EQ(alone[at], sample) << kernel->name << " " << i << " of " << count;
            }
            EXPECT_EQ(end, seed) << kernel->name << " " << count;
            EXPECT_EQ(added.back(), in.back()) << "beyond the end";
            EXPECT_EQ(alone.back(), in.back()) << "beyond the end";
        }
}

TEST(DenormNoise, ChannelsDiffer)
{
    CNodeBench bench({node("audio:modDenormNoise", "noise")});
    bench.start({0, 0, 1});
    const CSignals out = bench.run(levels({0.0, 0.0, 0.0}, 1000), 100);
    for (const CSignal& channel : out)
        EXPECT_EQ(signsOf(channel).find('?'), std::string::npos);
    EXPECT_NE(out[0], out[1]);
    EXPECT_NE(out[1], out[2]);
    EXPECT_NE(out[0], out[2]);
}

TEST(Gain, ScalesInvertsAndMutes)
{
    struct Case
    {
        double gain, mute, invert;
        double factor; // 0: muted
        bool isPassed;
    };
    const Case cases[] = {
        {1.0, 0.0, 0.0, 1.0, true},
        {1.0 + 2.3e-16, 0.0, 0.0, 1.0 + 2.3e-16, true}, // the next number above 1
        {1.0 + 5e-16, 0.0, 0.0, 1.0 + 5e-16, false},
        {2.5, 0.0, 0.0, 2.5, false},
        {0.25, 0.49, 0.49, 0.25, false},
        {0.25, 0.0, 0.5, -0.25, false},
        {1.0, 0.0, 1.0, -1.0, false},
        {2.5, 0.5, 0.0, 0.0, false},
        {1.0, 1.0, 1.0, 0.0, false},
    };
    for (const Case& c : cases)
    {
        CNodeBench bench({gainNode()});
        bench.start({0});
        bench.set("gain.gain", c.gain);
        bench.set("gain.mute", c.mute);
        bench.set("gain.invert", c.invert);
        bench.restart();
        const CSignal in = noise(500);
        const CSignal out = bench.run(in, 64);
        if (c.factor == 0.0)
        {
            const std::string signs = signsOf(out);
            EXPECT_EQ(signs.find('?'), std::string::npos);
            EXPECT_NE(signs.find('+'), std::string::npos);
            EXPECT_NE(signs.find('-'), std::string::npos);
        }
        else
        {
            EXPECT_EQ(out, (c.isPassed ? 1.0 : c.factor) * in) << c.factor;
        }
        EXPECT_EQ(bench.terminal("gain").findModule(0)->passThroughPort(), c.isPassed ? 0 : -1) << c.factor;
    }
}

TEST(Gain, GlidesBetweenSettings)
{
    CNodeBench bench({gainNode()});
    bench.start({0});
    const CSignal in(1000, 1.0);
    bench.run({in});
    const std::pair<const char*, double> changes[] = {
        {"gain.gain", 4.0}, {"gain.invert", 1.0}, {"gain.mute", 1.0}, {"gain.mute", 0.0}, {"gain.gain", 1.0}};
    double level = 1.0;
    for (const auto& [name, value] : changes)
    {
        bench.set(name, value);
        const CSignal out = bench.run(in, 64);
        // The steepest step of a raised cosine of 720 samples, half a circle times half the way.
        const double way = std::abs(out.back() - level);
        EXPECT_LE(largestStep(out), way * 1.001 * 3.14159265 / (2.0 * 720.0)) << name << " " << value;
        EXPECT_NEAR(out.front(), level, 1e-10) << name << " " << value;
        EXPECT_NEAR(out[900], out.back(), 1e-10);
        level = out.back();
    }
    EXPECT_EQ(level, -1.0);
}

}
