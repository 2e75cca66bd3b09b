// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioModuleFade.h"
#include "Audio/Graph/CDSPModDelay.h"
#include "GraphTestKit.h"
#include "Support/ReferenceCases.h"

#include <cmath>
#include <map>
#include <random>

namespace kor::test
{
namespace
{

/// Runs a signal through a line in given blocks; `changes` come ahead of their sample.
CSignal delayed(CDSPModDelay& line, const CSignal& in, const std::map<int, std::vector<int>>& changes,
                const std::function<int()>& nextBlock)
{
    CSignal out(in.size());
    const int total = static_cast<int>(in.size());
    for (int at = 0; at < total;)
    {
        if (const auto change = changes.find(at); change != changes.end())
        {
            for (const int samples : change->second)
                line.setDelay(samples);
        }
        const auto next = changes.upper_bound(at);
        const int end = next != changes.end() ? std::min(next->first, total) : total;
        const int count = std::min(end - at, nextBlock());
        line.process(in.data() + at, out.data() + at, count);
        at += count;
    }
    return out;
}

}

TEST(DelayLine, MatchesTheReferenceForAnyBlocks)
{
    for (const nlohmann::json& c : referenceCases("resampling", "delay"))
    {
        std::map<int, std::vector<int>> changes = {{0, {c["in"]["delay"].get<int>()}}};
        for (const auto& change : c["in"]["changes"])
            changes[change[0].get<int>()].push_back(change[1].get<int>());
        const CSignal in = referenceSignal(c["in"]["input"]);
        const int fade = static_cast<int>(std::nearbyint(0.015 * c["in"]["sr"].get<double>()));

        for (const int block : {1, 17, 64, 255, 512, 0})
        {
            std::mt19937 random(7);
            CAudioBufferPool pool;
            CDSPModDelay line(pool, fade);
            const CSignal out =
                delayed(line, in, changes, [&] { return block > 0 ? block : 1 + static_cast<int>(random() % 512); });
            SCOPED_TRACE("block " + std::to_string(block));
            expectSequence(c, strided(c, out), c["out"], sampleTolerance);
        }
    }
}

// Against memory of the whole signal: any walk over delays, settled after every change.
TEST(DelayLine, FindsEverySampleAfterGrowingAndShrinking)
{
    constexpr int fade = 20;
    CAudioBufferPool pool;
    CSignal in = noise(60000, 3);
    CSignal out(in.size());
    {
        CDSPModDelay line(pool, fade);
        std::mt19937 random(11);
        int at = 0;
        int last = 0;
        while (at + 4000 < static_cast<int>(in.size()))
        {
            const int samples = static_cast<int>(random() % 3) == 0 ? 0 : static_cast<int>(random() % 2500);
            line.setDelay(samples);
            const int from = at;
            for (const int end = at + 2600; at < end;)
            {
                const int count = std::min(end - at, 1 + static_cast<int>(random() % 512));
                line.process(in.data() + at, out.data() + at, count);
                at += count;
            }
            // What a shorter line has dropped comes back as silence; from one delay later on all must be there.
            for (int i = from + fade + std::max(samples - last, 0); i < at; ++i)
            {
                const double want = i >= samples ? in[static_cast<std::size_t>(i - samples)] : 0.0;
                ASSERT_EQ(out[static_cast<std::size_t>(i)], want) << "sample " << i << " delay " << samples;
            }
            EXPECT_EQ(line.ringSize(), (CDSPModDelay::blockSize + samples + 255) / CDSPModDelay::blockSize);
            last = samples;
        }
        EXPECT_GT(pool.inUse(), 0);
        line.reset();
        EXPECT_EQ(pool.inUse(), 0);
        EXPECT_EQ(line.blocksHeld(), 0);
    }
    EXPECT_EQ(pool.inUse(), 0);
}

TEST(DelayLine, TakesMemoryOnlyWhereAudioHasBeen)
{
    CAudioBufferPool pool;
    CDSPModDelay line(pool, 720);
    line.setDelay(5000);
    EXPECT_EQ(line.ringSize(), 11);
    EXPECT_EQ(pool.inUse(), 0);
    CSignal samples = noise(512, 1);
    line.process(samples.data(), samples.data(), 512); // in place
    EXPECT_EQ(samples, constant(512, 0.0));
    EXPECT_EQ(pool.inUse(), 1);
}

TEST(DelayLine, StartsWithTheFirstSampleForControlSignals)
{
    CAudioBufferPool pool;
    CDSPModDelay line(pool, 720, CDSPModDelay::CFill::firstSample);
    line.setDelay(600);
    CSignal in = constant(1000, 0.25);
    in[0] = 0.75;
    for (int round = 0; round < 2; ++round)
    {
        CSignal out(in.size());
        line.process(in.data(), out.data(), 1000);
        for (std::size_t i = 0; i < out.size(); ++i)
            ASSERT_EQ(out[i], i <= 600 ? 0.75 : 0.25) << i;
        line.reset();
    }
}

// The gains of the two sides over one fade; behind the end only the new side is left.
TEST(ModuleFade, MatchesTheReference)
{
    for (const nlohmann::json& c : referenceCases("kernels", "module_crossfade"))
    {
        const int count = c["out"]["count"].get<int>();
        const CGraphBench bench(gain("main", 1.0, {{"xfade-length", c["in"]["xfade_length"].dump()}}));
        const auto& def = dynamic_cast<CAudioProcessDefBase&>(*bench.tree->shared().findObject("main"));
        EXPECT_EQ(def.fadeSamples(c["in"]["sr"].get<double>()), count) << caseName(c);

        constexpr std::size_t hold = 13;
        const std::size_t end = hold + static_cast<std::size_t>(count);
        const CSignal ones = constant(end + 40, 1.0);
        const CSignal zeros = constant(end + 40, 0.0);
        for (const bool isNew : {false, true})
        {
            CAudioModuleFade fade;
            fade.start(hold, count);
            CSignal gains(ones.size());
            for (std::size_t at = 0; at < gains.size(); at += 7)
                fade.process((isNew ? zeros : ones).data() + at, (isNew ? ones : zeros).data() + at, gains.data() + at,
                             static_cast<int>(std::min<std::size_t>(7, gains.size() - at)));
            EXPECT_FALSE(fade.isRunning());
            EXPECT_EQ(part(gains, 0, hold), constant(hold, isNew ? 0.0 : 1.0));
            EXPECT_EQ(part(gains, end), constant(40, isNew ? 1.0 : 0.0));
            expectSequence(c, strided(c, part(gains, hold, end)), c["out"][isNew ? "new_gain" : "old_gain"],
                           sampleTolerance);
        }
    }
}

TEST(BufferPool, SharesAndReusesBuffersByClass)
{
    CAudioBufferPool pool;
    struct Case
    {
        int samples;
        int capacity;
    };
    const Case cases[] = {{1, 64}, {64, 64}, {65, 128}, {512, 512}, {4096, 4096}, {4097, 4160}, {10000, 10048}};
    for (const Case& c : cases)
    {
        CAudioBufferRef buffer = pool.take(c.samples);
        EXPECT_EQ(buffer.capacity(), c.capacity);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer.samples()) % 16, 0u);
        std::fill_n(buffer.samples(), buffer.capacity(), 1.0);
        const double* where = buffer.samples();
        buffer.release();
        const int made = pool.allocated();
        EXPECT_EQ(pool.take(c.samples).samples(), where);
        EXPECT_EQ(pool.allocated(), made);
    }
    // Of the class without limit a free buffer is taken only if it is long enough.
    const int made = pool.allocated();
    EXPECT_GE(pool.take(20000).capacity(), 20000);
    EXPECT_EQ(pool.allocated(), made + 1);
    EXPECT_GE(pool.take(15000).capacity(), 15000);
    EXPECT_EQ(pool.allocated(), made + 1);

    CAudioBufferRef first = pool.take(512);
    CAudioBufferRef second = first;
    EXPECT_EQ(first.useCount(), 2);
    CAudioBufferRef moved = std::move(second);
    EXPECT_EQ(first.useCount(), 2);
    moved.release();
    EXPECT_EQ(first.useCount(), 1);
    first.release();
    EXPECT_EQ(pool.inUse(), 0);
}

}
