// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioModuleFade.h"
#include "Audio/Graph/CDSPModDelay.h"
#include "GraphTestKit.h"
#include "Support/CRealtimeGuard.h"
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

TEST(DelayLine, NeedsNoHeapOnceItHasRun)
{
    CAudioBufferPool pool;
    CDSPModDelay line(pool, 100);
    CSignal samples = noise(512, 1);
    const auto walk = [&]
    {
        for (const int delay : {0, 3000, 10, 502, 1024, 0, 3000})
        {
            line.setDelay(delay);
            for (int i = 0; i < 10; ++i)
                line.process(samples.data(), samples.data(), 512);
        }
    };
    walk();
    const CRealtimeGuard guard;
    walk();
    EXPECT_EQ(guard.faults(), 0u);
}

// The gains of the two sides over one fade, for any blocks; behind the end only the new side is left.
TEST(ModuleFade, MatchesTheReference)
{
    for (const nlohmann::json& c : referenceCases("kernels", "module_crossfade"))
    {
        const int count = c["out"]["count"].get<int>();
        const double rate = c["in"]["sr"].get<double>();
        CGraphBench bench(gain(
            "main", 1.0, {{"xfade-length", CStringBuf::fromDouble(c["in"]["xfade_length"].get<double>()).toUtf8()}}));
        const auto& def = dynamic_cast<CAudioProcessDefBase&>(*bench.tree->shared().findObject("main"));
        EXPECT_EQ(def.fadeSamples(rate), count) << caseName(c);

        for (const int block : {1, 7, 512})
        {
            constexpr int hold = 13;
            const int length = hold + count + 40;
            CAudioModuleFade oldFade;
            CAudioModuleFade newFade;
            oldFade.start(hold, count);
            newFade.start(hold, count);
            CSignal oldGain = constant(length, 1.0);
            CSignal newGain = constant(length, 0.0);
            const CSignal ones = constant(length, 1.0);
            const CSignal zeros = constant(length, 0.0);
            for (int at = 0; at < length; at += block)
            {
                const int n = std::min(block, length - at);
                oldFade.process(oldGain.data() + at, zeros.data() + at, oldGain.data() + at, n);
                newFade.process(zeros.data() + at, ones.data() + at, newGain.data() + at, n);
            }
            for (int i = 0; i < length; ++i)
            {
                if (i >= hold && i < hold + count)
                    continue;
                ASSERT_EQ(oldGain[static_cast<std::size_t>(i)], i < hold ? 1.0 : 0.0) << i;
                ASSERT_EQ(newGain[static_cast<std::size_t>(i)], i < hold ? 0.0 : 1.0) << i;
            }
            EXPECT_FALSE(oldFade.isRunning());
            expectSequence(c, strided(c, std::span(oldGain).subspan(hold, static_cast<std::size_t>(count))),
                           c["out"]["old_gain"], sampleTolerance, "old");
            expectSequence(c, strided(c, std::span(newGain).subspan(hold, static_cast<std::size_t>(count))),
                           c["out"]["new_gain"], sampleTolerance, "new");
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
