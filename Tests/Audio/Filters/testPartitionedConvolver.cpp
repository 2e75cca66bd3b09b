// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CFirDesign.h"
#include "Audio/Filters/CPartitionSchedule.h"
#include "Audio/Filters/CPartitionedConvolver.h"
#include "Support/CRealtimeGuard.h"
#include "Support/ReferenceCases.h"
#include "Support/Signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace kor::test
{

namespace
{

// Noise around an offset.
CSignal noiseAround(double offset, std::size_t count, unsigned seed)
{
    return 0.5 * noise(count, seed) + constant(count, offset);
}

// The plain sum, with the past before the first sample filled with that sample.
CSignal plain(const CSignal& taps, const CSignal& x, int delay)
{
    CSignal y(x.size());
    for (std::ptrdiff_t n = 0; n < std::ssize(x); ++n)
        for (std::ptrdiff_t k = 0; k < std::ssize(taps); ++k)
            y[n] += taps[k] * x[std::max<std::ptrdiff_t>(n - k - delay, 0)];
    return y;
}

// `lengths` are used by turns; empty means all at once.
CSignal run(CPartitionedConvolver& convolver, const CSignal& x, const std::vector<int>& lengths)
{
    CSignal y(x.size());
    int done = 0;
    const int count = static_cast<int>(x.size());
    for (std::size_t i = 0; done < count; ++i)
    {
        const int length = lengths.empty() ? count : std::min(lengths[i % lengths.size()], count - done);
        convolver.process(x.data() + done, y.data() + done, length);
        done += length;
    }
    return y;
}

}

TEST(PartitionSchedule, AgreesWithReference)
{
    for (const nlohmann::json& testCase : referenceCases("fir.json", "partition_schedule"))
    {
        const CPartitionSchedule got = findPartitionSchedule(testCase["in"]["length"], testCase["in"]["latency"]);
        nlohmann::json levels = nlohmann::json::array();
        for (int i = 0; i < got.levelCount; ++i)
            levels.push_back({got.levels[i].blockSize, got.levels[i].blockCount});
        EXPECT_EQ(levels, testCase["out"]["schedule"]) << caseName(testCase);
        expectNumber(testCase, got.cost, testCase["out"]["cost"], "cost");
    }
}

TEST(PartitionSchedule, EveryLevelDeliversInTimeAndTheResponseIsCovered)
{
    for (const int latency : {-3, 0, 4, 5, 9, 13, 14, 20})
        for (int length = 1; length < 3000000; length += 1 + length / 3)
        {
            const CPartitionSchedule schedule = findPartitionSchedule(length, latency);
            const int first = 1 << std::clamp(latency, 4, 14);
            EXPECT_EQ(firstPartitionSize(latency), first);
            ASSERT_GE(schedule.levelCount, 1);
            int covered = 0;
            for (int i = 0; i < schedule.levelCount; ++i)
            {
                const auto [size, count] = schedule.levels[i];
                EXPECT_EQ(covered + first, size) << "a block of its size is ready when its taps are due: " << length;
                EXPECT_LT(covered, length);
                covered += size * count;
            }
            EXPECT_GE(covered, length);
            EXPECT_LT(covered - schedule.levels[schedule.levelCount - 1].blockSize, length);
        }
}

TEST(PartitionedConvolver, AgreesWithReference)
{
    for (const nlohmann::json& testCase : referenceCases("fir.json", "fir_process"))
    {
        const CSignal taps = referenceSignal(testCase["in"]["taps"]);
        const int latency = testCase["in"]["latency"];
        const auto convolver = CPartitionedConvolver::create(taps.data(), static_cast<int>(taps.size()), latency);
        ASSERT_TRUE(convolver);
        EXPECT_EQ(convolver->delaySamples(), 1 << latency);
        const CSignal y = run(*convolver, referenceSignal(testCase["in"]["input"]), {});
        expectSequence(testCase, strided(testCase, y), testCase["out"], sampleTolerance);
    }
}

struct CShape
{
    int taps, latency, samples;
};
const CShape shapes[] = {
    {1, 4, 100},    {15, 4, 100},    {16, 4, 100},    {17, 4, 100},     {48, 4, 300},    {49, 4, 300},
    {505, 4, 2000}, {6000, 4, 9000}, {400, 2, 1500},  {700, 5, 2500},   {518, 7, 1500},  {1000, 10, 5000},
    {9000, 6, 9000}, {5000, 7, 9000}, {20, 14, 40000}, {20000, 4, 40000},  // the last reaches blocks of 16384
};

TEST(PartitionedConvolver, EqualsThePlainSumForAnyCutOfTheInput)
{
    std::vector<int> random;
    std::mt19937 engine(11);
    for (int i = 0; i < 200; ++i)
        random.push_back(static_cast<int>(engine() % 700));
    const std::vector<int> cuts[] = {{1}, {3, 0, 7}, {64}, {511, 1}, {512}, random};
    for (const CShape& shape : shapes)
    {
        SCOPED_TRACE(std::to_string(shape.taps) + " taps, latency " + std::to_string(shape.latency));
        const CSignal taps = noiseAround(0.1, static_cast<std::size_t>(shape.taps), 5);
        const CSignal x = noiseAround(0.7, static_cast<std::size_t>(shape.samples), 6);
        const auto create = [&] { return CPartitionedConvolver::create(taps.data(), shape.taps, shape.latency); };
        const auto whole = create();
        ASSERT_TRUE(whole);
        const CSignal got = run(*whole, x, {});
        EXPECT_LE(difference(got, plain(taps, x, firstPartitionSize(shape.latency))), 1e-14 * (shape.taps + 10));
        for (const std::vector<int>& cut : cuts)
            ASSERT_EQ(run(*create(), x, cut), got) << "cuts of " << cut[0];
        whole->reset();
        ASSERT_EQ(run(*whole, x, {}), got) << "after a reset";
        CSignal inPlace = x;
        create()->process(inPlace.data(), inPlace.data(), shape.samples);
        ASSERT_EQ(inPlace, got) << "in place";
    }
}

TEST(PartitionedConvolver, AConstantComesThroughWithoutAStep)
{
    CFirDesign design;
    ASSERT_TRUE(designFirLowPass({44100.0, 0.0057, 3000.0, 1.0}, design));
    double gain = 0.0;
    for (const double tap : design.taps)
        gain += tap;
    const auto convolver = CPartitionedConvolver::create(design.taps.data(), static_cast<int>(design.taps.size()), 4);
    ASSERT_TRUE(convolver);
    for (const double level : {0.8, -0.3, 0.0})            // a reset each, in the middle of a block
    {
        convolver->reset();
        for (const double y : run(*convolver, CSignal(5003, level), {37}))
            ASSERT_NEAR(y, level * gain, 1e-13);
    }
}

TEST(PartitionedConvolver, RecoversFromValuesThatAreNotFinite)
{
    const CSignal taps = noise(3000, 8);
    CSignal x = noise(20000, 9), clean = x;
    x[5000] = std::numeric_limits<double>::quiet_NaN();
    x[5001] = std::numeric_limits<double>::infinity();
    const auto convolver = CPartitionedConvolver::create(taps.data(), 3000, 5);
    // A block holds back what came up to two blocks before its segment.
    EXPECT_LE(difference(run(*convolver, x, {512}), plain(taps, clean, 32), 12000), 1e-10);
}

TEST(PartitionedConvolver, ProcessingAndResetAreFitForTheAudioThread)
{
    const CSignal taps = noise(40000, 12), x = noise(512, 13);
    CSignal y(512);
    const auto convolver = CPartitionedConvolver::create(taps.data(), 40000, 4);
    ASSERT_TRUE(convolver);
    const CRealtimeGuard guard;
    for (int block = 0; block < 100; ++block)              // over boundaries of the longest blocks as well
    {
        if (block == 70)
            convolver->reset();
        convolver->process(x.data(), y.data(), 512);
    }
    EXPECT_EQ(guard.faults(), 0u);
}

TEST(PartitionedConvolver, RefusesCountsOutOfRange)
{
    const double tap = 1.0;
    EXPECT_EQ(CPartitionedConvolver::create(&tap, 0, 7), nullptr);
    EXPECT_EQ(CPartitionedConvolver::create(&tap, -1, 7), nullptr);
    EXPECT_EQ(CPartitionedConvolver::create(&tap, CFirDesign::maxTaps + 1, 7), nullptr);
}

}
