// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CMorvaEnvKernel.h"
#include "ProcessTestKit.h"
#include "Support/ReferenceCases.h"

#include <algorithm>
#include <cmath>

namespace kor::test
{

namespace
{

std::vector<const CMorvaEnvKernel*> allBuilds()
{
    std::vector<const CMorvaEnvKernel*> builds = allMorvaEnvKernels();
    builds.push_back(&plainMorvaEnvKernel());
    return builds;
}

const CMorvaEnvRoutine& routineOf(const CMorvaEnvKernel& kernel, bool isInverted)
{
    return isInverted ? kernel.inverted : kernel.plain;
}

CMorvaEnvSettings settingsOf(double attack, double release, double envAttack, double envRelease, double dyn,
                             double rateHz)
{
    return {morvaEnvCoefficient(attack, rateHz), morvaEnvCoefficient(release, rateHz),
            morvaEnvCoefficient(envAttack, rateHz), morvaEnvCoefficient(envRelease, rateHz), dyn};
}

/// One detector with its input.
struct CDetector
{
    CMorvaEnvSettings settings;
    CSignal filtered;
    CSignal dry;
    CMorvaEnvState state = {};

    CMorvaEnvRun run(CSignal& out, std::size_t at = 0)
    {
        return {&settings, &state, filtered.data() + at, dry.data() + at, out.data() + at};
    }
    CSignal process(const CMorvaEnvRoutine& routine)
    {
        CSignal out(filtered.size());
        const CMorvaEnvRun whole = run(out);
        routine.one(&whole, static_cast<int>(out.size()));
        return out;
    }
};

CSignal rectified(CSignal signal)
{
    for (double& x : signal)
        x = std::abs(x);
    return signal;
}

// Noise whose level changes from stretch to stretch, down to silence.
CSignal restless(std::size_t count, unsigned seed)
{
    CSignal signal = rectified(noise(count, seed));
    const double levels[] = {1.0, 0.02, 0.6, 0.0, 1e-6, 3.0};
    for (std::size_t i = 0; i < count; ++i)
        signal[i] *= levels[(i / (700 + seed * 31)) % 6];
    return signal;
}

// Times at the ends and in the middle of their ranges, rates from the lowest to the highest.
const CMorvaEnvSettings settingsRows[] = {
    settingsOf(0.005, 0.1, 0.001, 0.1, 1.0, 48000.0),    settingsOf(0.0001, 0.04, 0.0001, 0.04, 10.0, 44100.0),
    settingsOf(0.04, 1.0, 0.04, 1.0, 3.0, 192000.0),     settingsOf(0.04, 0.04, 0.04, 0.04, 0.5, 96000.0),
    settingsOf(0.0001, 1.0, 0.0001, 1.0, 0.0, 384000.0), settingsOf(0.02, 0.3, 0.0007, 0.05, 7.0, 8000.0),
};

}

TEST(MorvaEnvKernel, FollowsTheCurve)
{
    for (const CMorvaEnvKernel* kernel : allBuilds())
        for (const auto& testCase : referenceCases("dynamics", "curve"))
        {
            // A filter that leaves nothing: the ratio is 0, and smoothers of 1 show the curve at once.
            CDetector detector{
                {1.0, 1.0, 1.0, 1.0, testCase["in"]["d"].get<double>() / 2.0}, CSignal(9, 0.0), CSignal(9, 1.0)};
            expectNumber(testCase, detector.process(kernel->plain).back(), testCase["out"], kernel->name);
        }
}

TEST(MorvaEnvKernel, SettlesOnSteadyLevels)
{
    for (const CMorvaEnvKernel* kernel : allBuilds())
        for (const auto& testCase : referenceCases("dynamics", "settled"))
        {
            const auto& in = testCase["in"];
            // Loud, so that the floor of the divisors does not show.
            CDetector detector{settingsOf(0.005, 0.1, 0.001, 0.1, in["dyn"], 48000.0),
                               CSignal(200000, 1e4 * std::sqrt(in["power_ratio"].get<double>())), CSignal(200000, 1e4)};
            const CSignal out = detector.process(routineOf(*kernel, in["invert"]));
            expectNumber(testCase, detector.state.ratio, testCase["out"]["q"], kernel->name);
            expectNumber(testCase, out.back(), testCase["out"]["position"], kernel->name);
        }
}

TEST(MorvaEnvKernel, FollowsTheReference)
{
    for (const CMorvaEnvKernel* kernel : allBuilds())
        for (const auto& testCase : referenceCases("dynamics", "detector"))
        {
            const auto& in = testCase["in"];
            CDetector detector{
                settingsOf(in["attack"], in["release"], in["env_attack"], in["env_release"], in["dyn"], in["sr"]),
                rectified(referenceSignal(in["filtered"])), rectified(referenceSignal(in["dry"]))};
            const CSignal out = detector.process(routineOf(*kernel, in["invert"]));
            expectSequence(testCase, strided(testCase, out), testCase["out"], sampleTolerance, kernel->name);
        }
}

TEST(MorvaEnvKernel, AgreesWithThePlainForm)
{
    for (const CMorvaEnvKernel* kernel : allMorvaEnvKernels())
        for (const CMorvaEnvSettings& settings : settingsRows)
            for (const bool isInverted : {false, true})
            {
                CDetector a{settings, restless(20000, 1), restless(20000, 2)};
                CDetector b{settingsRows[0], restless(20000, 3), restless(20000, 4)};
                CSignal outA(20000), outB(20000);
                const CMorvaEnvRun both[] = {a.run(outA), b.run(outB)};
                routineOf(*kernel, isInverted).two(both, 20000);

                const CMorvaEnvRoutine& plain = routineOf(plainMorvaEnvKernel(), isInverted);
                EXPECT_LE(difference(outA, CDetector{a.settings, a.filtered, a.dry}.process(plain)), 1e-12)
                    << kernel->name;
                EXPECT_LE(difference(outB, CDetector{b.settings, b.filtered, b.dry}.process(plain)), 1e-12)
                    << kernel->name;
                EXPECT_EQ(CDetector({a.settings, a.filtered, a.dry}).process(routineOf(*kernel, isInverted)), outA)
                    << kernel->name;
            }
}

TEST(MorvaEnvKernel, GivesTheSameForAnyCut)
{
    constexpr std::size_t count = 3000;
    constexpr double guard = -7.0;
    for (const CMorvaEnvKernel* kernel : allBuilds())
    {
        CDetector whole{settingsRows[0], restless(count, 1), restless(count, 2)};
        const CSignal want = whole.process(kernel->plain);
        for (const std::size_t block : {1u, 3u, 4u, 5u, 7u, 8u, 9u, 15u, 17u, 64u, 512u})
        {
            CDetector cut{settingsRows[0], whole.filtered, whole.dry};
            CSignal out(count + 8, guard);
            for (std::size_t at = 0; at < count; at += block)
            {
                const std::size_t length = std::min(block, count - at);
                const CMorvaEnvRun run = cut.run(out, at);
                kernel->plain.one(&run, static_cast<int>(length));
                ASSERT_EQ(out[at + length], guard) << kernel->name << ", block " << block;
            }
            out.resize(count);
            EXPECT_EQ(out, want) << kernel->name << ", block " << block;
            EXPECT_EQ(cut.state, whole.state) << kernel->name << ", block " << block;
        }
        // Over its own input.
        CDetector inPlace{settingsRows[0], whole.filtered, whole.dry};
        const CMorvaEnvRun run = inPlace.run(inPlace.filtered);
        kernel->plain.one(&run, count);
        EXPECT_EQ(inPlace.filtered, want) << kernel->name;
    }
}

TEST(MorvaEnvKernel, LeavesOtherSmoothersToThePlainForm)
{
    const CMorvaEnvSettings usual{0.3, 0.1, 0.3, 0.1, 1.0};
    EXPECT_TRUE(CMorvaEnvKernel::suits(usual));
    EXPECT_FALSE(CMorvaEnvKernel::suits({0.1, 0.3, 0.3, 0.1, 1.0}));
    EXPECT_FALSE(CMorvaEnvKernel::suits({0.3, 0.1, 0.1, 0.3, 1.0}));
    EXPECT_FALSE(CMorvaEnvKernel::suits({NAN, 0.1, 0.3, 0.1, 1.0}));
}

}
