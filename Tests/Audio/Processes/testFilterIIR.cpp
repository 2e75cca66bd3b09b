// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CDCDAWFilterWorkspace.h"
#include "Audio/Filters/DesignCases.h"
#include "ProcessTestKit.h"

#include <algorithm>
#include <cmath>

namespace kor::test
{

namespace
{

constexpr int modeCount = 19;

// Direct form sections one after the other, from the coefficients of a design.
CSignal plainFilter(const CAudioFilterSpec& spec, CSignal signal)
{
    for (const CAudioFilterStage& stage : spec.stages())
    {
        long double x1 = 0.0L, x2 = 0.0L, y1 = 0.0L, y2 = 0.0L;
        const bool isBiquad = stage.denominator.size() == 2;
        const double b2 = isBiquad ? stage.numerator[2] : 0.0;
        const double a2 = isBiquad ? stage.denominator[1] : 0.0;
        for (double& sample : signal)
        {
            const long double x = sample;
            const long double y = stage.numerator[0] * x + stage.numerator[1] * x1 + b2 * x2 -
                                  stage.denominator[0] * y1 - a2 * y2;
            x2 = x1;
            x1 = x;
            y2 = y1;
            y1 = y;
            sample = static_cast<double>(y);
        }
    }
    return signal;
}

struct CMove
{
    double fromHz, toHz, fromGain, toGain;
};

// The largest step of the output while a running full-scale sine meets a change, over that of the louder settled
// output; 0 when the sine stands on a zero of both, so that there is nothing to compare with.
double stepRatio(int mode, const CMove& move, double sineHz, double rate)
{
    const auto half = static_cast<std::size_t>(rate);
    const CSignal in = sine(2 * half, sineHz, rate);
    CBandChain chain(rate);
    chain.setBand(mode, move.fromHz, move.fromGain, 1.0);
    chain.graph.restart();
    const CSignal before = chain.run(part(in, 0, half));
    chain.setFrequency(move.toHz);
    chain.setGain(move.toGain);
    const CSignal after = chain.run(part(in, half));
    const double louder = std::max(largestStep(before, half / 2), largestStep(after, half / 2));
    if (louder < 1e-3 * largestStep(in))
        return 0.0;
    return largestStep(joined({before.back()}, after)) / louder;
}

}

TEST(FilterIIR, MovesWithoutSteps)
{
    struct CRow
    {
        const char* what;
        CMove move;
    };
    const CRow rows[] = {
        {"an octave up", {1000.0, 2000.0, 4.0, 4.0}},
        {"an octave down", {2000.0, 1000.0, 4.0, 4.0}},
        {"an octave up, cut", {1000.0, 2000.0, 0.25, 0.25}},
        {"gain up", {1000.0, 1000.0, 0.0630957344480193, 15.848931924611133}},
        {"gain down", {1000.0, 1000.0, 15.848931924611133, 0.0630957344480193}},
    };
    for (const CRow& row : rows)
        for (int mode = plainBell; mode < modeCount; ++mode)
            for (const double ratio : {0.25, 1.0, 1.4142135623730951, 2.0, 8.0})
            {
                const double step = stepRatio(mode, row.move, row.move.fromHz * ratio, 48000.0);
                EXPECT_LE(step, 1.5) << row.what << ", mode " << mode << ", sine at " << row.move.fromHz * ratio;
            }
}

TEST(FilterIIR, StaysQuietWhenMovedAwayFromHalfTheRate)
{
    const double rate = 48000.0;
    const CSignal in = noise(5 * 48000);
    for (int mode = plainBell; mode < modeCount; ++mode)
        for (const double target : {1000.0, 23000.0})
            for (const double bandwidth : {0.1, 2.5})
            {
                CBandChain chain(rate);
                chain.setBand(mode, 24000.0, 4.0, bandwidth);
                const double old = largestValue(chain.run(in));
                chain.setFrequency(target);
                const CSignal moved = chain.run(in);
                const CAudioFilterGen& type = *chain.tree.bandTypes().getItem(mode);
                const double settled = largestValue(plainFilter(design(type, rate, target, 4.0, bandwidth), in));
                EXPECT_LE(largestValue(moved), 2.0 * std::max(old, settled)) << mode << " " << target;
            }
}

TEST(FilterIIR, SweepsWithoutBlowingUp)
{
    for (const double rate : {44100.0, 96000.0, 384000.0})
        for (const int mode : {plainBell, 5, 6, 8, 11, 13, 15, 16, 18})
        {
            CBandChain chain(rate);
            chain.setBand(mode, 20.0, 4.0, 1.0);
            // A fade takes about 25 ms, so that every step is reached.
            const CSignal in = noise(static_cast<std::size_t>(0.026 * rate));
            std::vector<double> frequencies;
            for (double f = 20.0; f < 96000.0; f *= 1.25)
                frequencies.push_back(f);
            for (const double offset : {-1e-3, -1e-6, -1e-9, 0.0, 1e-9, 1e-6, 1e-3})
                frequencies.push_back(rate * 0.5 / 1.98 * (1.0 + offset));
            double largest = 0.0;
            for (const double frequency : frequencies)
            {
                chain.setFrequency(frequency);
                largest = std::max(largest, largestValue(chain.run(in)));
            }
            EXPECT_LT(largest, 1000.0) << mode << " " << rate;
        }
}

TEST(FilterIIR, FallsSilentAboveHalfTheRateAndComesBack)
{
    const double rate = 44100.0;
    const CSignal in = noise(22050);
    for (const int mode : {plainBell, 5, 13})
    {
        CBandChain chain(rate);
        chain.setBand(mode, 1000.0, 4.0, 1.0);
        const CSignal heard = chain.run(in);
        EXPECT_GT(difference(heard, in), 0.1);
        chain.setFrequency(30000.0);
        chain.run(in);
        EXPECT_LT(difference(chain.run(in), in), 1e-12) << mode;
        chain.setFrequency(1000.0);
        chain.run(in);
        chain.run(in);
        EXPECT_GT(difference(chain.run(in), in), 0.1) << mode;
    }
}

// On the way out of the band the filter fades; it is not cut off.
TEST(FilterIIR, LeavesTheBandWithoutAStep)
{
    const double rate = 44100.0;
    const CSignal in = sine(44100, 1000.0, rate);
    for (const int mode : {plainBell, 5, 15})
    {
        CBandChain chain(rate);
        chain.setBand(mode, 1500.0, 15.0, 1.0);
        chain.graph.restart();
        CSignal out = chain.run(in);
        const double louder = std::max(largestStep(in), largestStep(out, 22050));
        chain.setFrequency(30000.0);
        out = joined({out.back()}, chain.run(in));     // a whole number of periods
        EXPECT_LE(largestStep(out), 1.5 * louder) << mode;
        EXPECT_LE(difference(part(out, 1), in, 4410), 1e-12) << mode;
    }
}

TEST(FilterIIR, SettlesOnTheReferenceForAnyBlock)
{
    for (const double rate : {44100.0, 192000.0})
        for (int mode = plainBell; mode < modeCount; ++mode)
        {
            const CSignal in = noise(static_cast<std::size_t>(0.3 * rate));
            CSignal first;
            for (const int block : {4096, 1, 17, 64, 512})
            {
                CBandChain chain(rate);
                chain.setBand(mode, 300.0, 4.0, 2.0);
                chain.graph.restart();
                const CSignal out = chain.run(in, block);
                if (first.empty())
                    first = out;
                EXPECT_LE(difference(out, first), 1e-12 * std::max(1.0, largestValue(first)))
                    << "mode " << mode << " block " << block;
                const CAudioFilterGen& type = *chain.tree.bandTypes().getItem(mode);
                const CSignal want = plainFilter(design(type, rate, 300.0, 4.0, 2.0), in);
                EXPECT_LE(difference(out, want, static_cast<std::size_t>(0.05 * rate)), 1e-9) << mode << " " << rate;
            }
        }
}

TEST(FilterIIR, TakesTheLastOfManyChanges)
{
    CBandChain chain(48000.0);
    chain.setBand(5, 100.0, 4.0, 1.0);
    const CSignal in = noise(48000);
    chain.run(in);
    for (int i = 0; i < 400; ++i)
    {
        chain.setFrequency(100.0 + i);
        chain.run(part(in, 0, 37));
    }
    chain.setFrequency(2000.0);
    chain.run(CSignal(9600));
    const CSignal want = plainFilter(design(*chain.tree.bandTypes().getItem(5), 48000.0, 2000.0, 4.0, 1.0), in);
    EXPECT_LE(difference(chain.run(in), want, 9600), 1e-9);
}

TEST(FilterIIR, RunsTenSecondsOfChangesWithoutTouchingTheHeap)
{
    CBandChain chain(48000.0, 2);
    const auto change = [&](int block)
    {
        bool isRebuilt = false;                     // a new type makes the band's process anew; that may allocate
        for (int band = 0; band < 5; ++band)
        {
            const double hz = 30.0 * std::pow(1.03, (block * 7 + band * 40) % 200);
            chain.graph.set("modMorvaEQ.eq-params.freq", hz, allGroups, band);
            chain.graph.set("modMorvaEQ.eq-params.gain", 0.1 + (block % 37) * 0.2, allGroups, band);
            if (block % 11 != band)
                continue;
            isRebuilt = true;
            chain.graph.set("modMorvaEQ.eq-params.mode", (block / 11 + band) % modeCount, allGroups, band);
        }
        return !isRebuilt;
    };
    EXPECT_EQ(chain.graph.faults(2 * 10 * 48000 / 512, 200, change), 0u);
}

TEST(FilterIIR, StopsWithEmptyMemory)
{
    CBandChain chain(48000.0);
    chain.setBand(13, 300.0, 4.0, 0.1);
    chain.graph.restart();
    const CSignal in = noise(4800);
    const CSignal first = chain.run(in);
    chain.graph.host.stop();
    EXPECT_LE(difference(chain.run(in), first), 1e-12);
}

}
