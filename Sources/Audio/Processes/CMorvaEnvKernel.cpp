// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CMorvaEnvKernel.h"

#include <algorithm>

// Vectors of a length known only at run time cannot be kept in arrays of registers.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Audio/Processes/CMorvaEnvKernel.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "Audio/Filters/KernelBuilds.h" // only now, behind the choice of targets

HWY_BEFORE_NAMESPACE();
namespace kor
{
namespace HWY_NAMESPACE
{

#if HWY_TARGET == HWY_SCALAR

const CMorvaEnvKernel* buildMorvaEnvKernel()
{
    return &plainMorvaEnvKernel();
}

#else

namespace hn = hwy::HWY_NAMESPACE;

// One or two detectors, side by side in the lanes.
//
// A smoother that rises with kA and falls with kR, kA >= kR, is the larger of two lines through its state s:
//   max(s (1 - kA) + x kA, s (1 - kR) + x kR)
// so its recurrence costs a fused step and a maximum, with no comparison to wait for; one that falls faster is the
// smaller of two. There are three such recurrences: the powers, in four lanes per channel (the slow ones have both
// coefficients equal), the ratio and the level. Between them stand steps without memory (the ratio of powers, the
// curve), which take many samples at a time.
//
// The samples go in groups, and the five steps work on five different groups at the same time, each `lag` groups behind
// the step before: so no chain of operations waits for another, and what one step stores is out of the processor's
// store queue when the next one loads it.
template <int channels, bool isInverted>
class CMorvaEnvPipeline
{
public:
    static HWY_NOINLINE void process(const CMorvaEnvRun* runs, int count)
    {
        CMorvaEnvPipeline pipeline(runs, count);
        const int steps = pipeline.groups + stages * lag;
        int step = 0;
        for (; step < std::min(stages * lag, steps); ++step)
            pipeline.runEdge(step);
        if (step < pipeline.full)
        {
            CMemory memory = pipeline.kept; // in registers for the length of the loop
            for (; step < pipeline.full; ++step)
                pipeline.runFull(step, memory);
            pipeline.kept = memory;
        }
        for (; step < steps; ++step)
            pipeline.runEdge(step);
        pipeline.storeStates();
    }

private:
    static constexpr int group = 4; // samples: a multiple of the lanes
    static constexpr int lag = 1;
    static constexpr int stages = 4; // behind the first
    static constexpr int ring = 8; // groups kept: a power of two above stages * lag

    using D = hn::CappedTag<double, group>; // along time
    using DPower = hn::CappedTag<double, 4>;
    using DLevel = hn::CappedTag<double, channels>;
    using V = hn::Vec<D>;
    using VPower = hn::Vec<DPower>;
    using VLevel = hn::Vec<DLevel>;
    static constexpr int lanes = static_cast<int>(hn::MaxLanes(D()));
    static constexpr int powerLanes = static_cast<int>(hn::MaxLanes(DPower()));
    static constexpr int powerVectors = 4 * channels / powerLanes;
    static constexpr int values = group * channels; // of a group: sample by sample, in each channel by channel

    struct CMemory
    {
        VPower power[powerVectors];
        VLevel ratio;
        VLevel level;
    };

    /// What a smoother moves by its two coefficients.
    struct CMoves
    {
        alignas(64) double fast[values];
        alignas(64) double slow[values];
    };

    HWY_INLINE CMorvaEnvPipeline(const CMorvaEnvRun* first, int count) : runs(first)
    {
        full = count / group;
        rest = count % group;
        groups = full + (rest != 0 ? 1 : 0);

        alignas(64) double rise[4 * channels], fall[4 * channels], power[4 * channels];
        alignas(64) double kFall[values], kRise[values], gain[values], ratio[values], level[values];
        for (int c = 0; c < channels; ++c)
        {
            const CMorvaEnvSettings& k = *runs[c].settings;
            const CMorvaEnvState& s = *runs[c].state;
            const double states[] = {s.fltSlow, s.inSlow, s.fltFast, s.inFast};
            for (int i = 0; i < 4; ++i)
            {
                rise[4 * c + i] = i < 2 ? k.kRelease : k.kAttack;
                fall[4 * c + i] = k.kRelease;
                power[4 * c + i] = states[i];
            }
            for (int i = c; i < values; i += channels)
            {
                kFall[i] = k.kEnvAttack;
                kRise[i] = k.kEnvRelease;
                gain[i] = 2.0 * k.dyn;
                ratio[i] = s.ratio;
                level[i] = s.level;
            }
        }
        const D d;
        const DPower dp;
        const DLevel dl;
        for (int v = 0; v < powerVectors; ++v)
        {
            powerRise[v] = hn::Load(dp, rise + v * powerLanes);
            powerFall[v] = hn::Load(dp, fall + v * powerLanes);
            keepRise[v] = hn::Sub(hn::Set(dp, 1.0), powerRise[v]);
            keepFall[v] = hn::Sub(hn::Set(dp, 1.0), powerFall[v]);
            kept.power[v] = hn::Load(dp, power + v * powerLanes);
        }
        moveFast = hn::Load(d, kFall);
        moveSlow = hn::Load(d, kRise);
        twiceDyn = hn::Load(d, gain);
        keepFast = hn::Sub(hn::Set(dl, 1.0), hn::Load(dl, kFall));
        keepSlow = hn::Sub(hn::Set(dl, 1.0), hn::Load(dl, kRise));
        kept.ratio = hn::Load(dl, ratio);
        kept.level = hn::Load(dl, level);
    }

    HWY_INLINE void storeStates() const
    {
        alignas(64) double power[4 * channels], ratio[channels], level[channels];
        for (int v = 0; v < powerVectors; ++v)
            hn::Store(kept.power[v], DPower(), power + v * powerLanes);
        hn::Store(kept.ratio, DLevel(), ratio);
        hn::Store(kept.level, DLevel(), level);
        for (int c = 0; c < channels; ++c)
        {
            const double* p = power + 4 * c;
            *runs[c].state = {p[0], p[1], p[2], p[3], ratio[c], level[c]};
        }
    }

    HWY_INLINE void square(int at)
    {
        const D d;
        for (int i = 0; i < group; i += lanes)
        {
            V flt[channels], in[channels];
            for (int c = 0; c < channels; ++c)
            {
                const V x = hn::LoadU(d, runs[c].filtered + at * group + i);
                const V y = hn::LoadU(d, runs[c].dry + at * group + i);
                flt[c] = hn::Mul(x, x);
                in[c] = hn::Mul(y, y);
            }
            if constexpr (channels == 1)
                hn::StoreInterleaved2(flt[0], in[0], d, squares + 2 * i);
            else
                hn::StoreInterleaved4(flt[0], in[0], flt[1], in[1], d, squares + 4 * i);
        }
    }

    HWY_INLINE void squareRest(int at)
    {
        for (int i = 0; i < rest; ++i)
            for (int c = 0; c < channels; ++c)
            {
                const double x = runs[c].filtered[at * group + i];
                const double y = runs[c].dry[at * group + i];
                squares[2 * (i * channels + c)] = x * x;
                squares[2 * (i * channels + c) + 1] = y * y;
            }
    }

    HWY_INLINE void stepPower(double* out, int i, CMemory& memory) const
    {
        const DPower dp;
        for (int v = 0; v < powerVectors; ++v)
        {
            const VPower x = hn::LoadDup128(dp, squares + 2 * (i * channels + v * powerLanes / 4));
            memory.power[v] = hn::Max(hn::MulAdd(memory.power[v], keepRise[v], hn::Mul(x, powerRise[v])),
                                      hn::MulAdd(memory.power[v], keepFall[v], hn::Mul(x, powerFall[v])));
            hn::Store(memory.power[v], dp, out + i * 4 * channels + v * powerLanes);
        }
    }

    HWY_INLINE VLevel stepSmoother(VLevel state, const CMoves& moves, int i) const
    {
        const DLevel dl;
        return hn::Min(hn::MulAdd(state, keepFast, hn::Load(dl, moves.fast + i * channels)),
                       hn::MulAdd(state, keepSlow, hn::Load(dl, moves.slow + i * channels)));
    }

    HWY_INLINE void stepRatio(double* out, const CMoves& moves, int i, CMemory& memory) const
    {
        memory.ratio = stepSmoother(memory.ratio, moves, i);
        hn::Store(memory.ratio, DLevel(), out + i * channels);
    }

    HWY_INLINE void stepLevel(int at, const CMoves& moves, int i, CMemory& memory) const
    {
        const DLevel dl;
        memory.level = stepSmoother(memory.level, moves, i);
        const VLevel position = isInverted ? hn::Sub(hn::Set(dl, 1.0), memory.level) : memory.level;
        if constexpr (channels == 1)
        {
            hn::StoreU(position, dl, runs[0].out + at * group + i);
        }
        else
        {
            const hn::Half<DLevel> one;
            hn::StoreU(hn::LowerHalf(one, position), one, runs[0].out + at * group + i);
            hn::StoreU(hn::UpperHalf(one, position), one, runs[1].out + at * group + i);
        }
    }

    // One root of one quotient: the two divisions of the plain form in one.
    HWY_INLINE void findRatios(const double* from, CMoves& moves) const
    {
        const D d;
        const V e = hn::Set(d, morvaEnvFloor);
        for (int i = 0; i < values; i += lanes)
        {
            V fltSlow, inSlow, fltFast, inFast;
            hn::LoadInterleaved4(d, from + 4 * i, fltSlow, inSlow, fltFast, inFast);
            const auto adds = hn::Gt(fltSlow, inSlow);
            const V smaller = hn::Mul(hn::IfThenElse(adds, inSlow, fltSlow), hn::IfThenElse(adds, inFast, fltFast));
            const V larger = hn::Mul(hn::Add(hn::IfThenElse(adds, fltSlow, inSlow), e),
                                     hn::Add(hn::IfThenElse(adds, fltFast, inFast), e));
            storeMoves(hn::Sqrt(hn::Div(smaller, larger)), moves, i);
        }
    }

    HWY_INLINE void findLevels(const double* from, CMoves& moves) const
    {
        const D d;
        const V numerator = hn::Set(d, 24.0);
        for (int i = 0; i < values; i += lanes)
        {
            const V x = hn::Mul(twiceDyn, hn::Sub(hn::Set(d, 1.0), hn::Load(d, from + i)));
            V sum = hn::MulAdd(hn::Add(hn::Set(d, 3.0), x), x, hn::Set(d, 6.0));
            sum = hn::MulAdd(sum, x, hn::Set(d, 12.0));
            sum = hn::MulAdd(sum, x, numerator);
            storeMoves(hn::Div(numerator, sum), moves, i);
        }
    }

    HWY_INLINE void storeMoves(V target, CMoves& moves, int i) const
    {
        hn::Store(hn::Mul(target, moveFast), D(), moves.fast + i);
        hn::Store(hn::Mul(target, moveSlow), D(), moves.slow + i);
    }

    // All five steps, each on a whole group.
    HWY_INLINE void runFull(int step, CMemory& memory)
    {
        square(step);
        double* const power = powers[slot(step)];
        double* const ratio = ratios[slot(step - 2 * lag)];
        const CMoves& toRatio = ratioMoves[slot(step - 2 * lag)];
        const CMoves& toLevel = levelMoves[slot(step - 4 * lag)];
#pragma GCC unroll 4 // or the compiler keeps neither memory nor addresses in registers
        for (int i = 0; i < group; ++i)
        {
            stepPower(power, i, memory);
            stepRatio(ratio, toRatio, i, memory);
            stepLevel(step - 4 * lag, toLevel, i, memory);
        }
        findRatios(powers[slot(step - lag)], ratioMoves[slot(step - lag)]);
        findLevels(ratios[slot(step - 3 * lag)], levelMoves[slot(step - 3 * lag)]);
    }

    // The same where some of the groups are not there, or the last one is not whole.
    HWY_NOINLINE void runEdge(int step)
    {
        CMemory memory = kept;
        if (const int at = step; at < groups)
        {
            if (at < full)
                square(at);
            else
                squareRest(at);
            for (int i = 0; i < length(at); ++i)
                stepPower(powers[slot(at)], i, memory);
        }
        if (const int at = step - lag; isGroup(at))
        {
            std::fill(powers[slot(at)] + 4 * channels * length(at), powers[slot(at)] + 4 * values, 0.0);
            findRatios(powers[slot(at)], ratioMoves[slot(at)]);
        }
        if (const int at = step - 2 * lag; isGroup(at))
        {
            for (int i = 0; i < length(at); ++i)
                stepRatio(ratios[slot(at)], ratioMoves[slot(at)], i, memory);
        }
        if (const int at = step - 3 * lag; isGroup(at))
        {
            std::fill(ratios[slot(at)] + channels * length(at), ratios[slot(at)] + values, 0.0);
            findLevels(ratios[slot(at)], levelMoves[slot(at)]);
        }
        if (const int at = step - 4 * lag; isGroup(at))
        {
            for (int i = 0; i < length(at); ++i)
                stepLevel(at, levelMoves[slot(at)], i, memory);
        }
        kept = memory;
    }

    bool isGroup(int at) const
    {
        return at >= 0 && at < groups;
    }
    int length(int at) const
    {
        return at < full ? group : rest;
    }
    static constexpr int slot(int at)
    {
        return at & (ring - 1);
    }

    const CMorvaEnvRun* runs;
    int full; // whole groups
    int rest; // samples behind them
    int groups;
    CMemory kept;
    VPower powerRise[powerVectors], powerFall[powerVectors], keepRise[powerVectors], keepFall[powerVectors];
    V moveFast, moveSlow, twiceDyn;
    VLevel keepFast, keepSlow;
    alignas(64) double squares[2 * values];
    alignas(64) double powers[ring][4 * values];
    alignas(64) double ratios[ring][values];
    CMoves ratioMoves[ring];
    CMoves levelMoves[ring];
};

const CMorvaEnvKernel* buildMorvaEnvKernel()
{
    static const CMorvaEnvKernel kernel = {
        {&CMorvaEnvPipeline<1, false>::process, &CMorvaEnvPipeline<2, false>::process},
        {&CMorvaEnvPipeline<1, true>::process, &CMorvaEnvPipeline<2, true>::process},
        hwy::TargetName(HWY_TARGET)};
    return &kernel;
}

#endif

}
}
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kor
{

HWY_EXPORT(buildMorvaEnvKernel);

namespace
{

template <void (*routine)(const CMorvaEnvRun&, int) noexcept, int runCount>
void processEach(const CMorvaEnvRun* runs, int count)
{
    for (int i = 0; i < runCount; ++i)
        routine(runs[i], count);
}

}

const CMorvaEnvKernel& plainMorvaEnvKernel() noexcept
{
    static const CMorvaEnvKernel kernel = {
        {&processEach<processMorvaEnv, 1>, &processEach<processMorvaEnv, 2>},
        {&processEach<processMorvaEnvInverted, 1>, &processEach<processMorvaEnvInverted, 2>},
        "plain"};
    return kernel;
}

const CMorvaEnvKernel& morvaEnvKernel() noexcept
{
    static const CMorvaEnvKernel* const chosen = HWY_DYNAMIC_DISPATCH(buildMorvaEnvKernel)();
    return *chosen;
}

std::vector<const CMorvaEnvKernel*> allMorvaEnvKernels()
{
    return allKernelBuilds([] { return HWY_DYNAMIC_DISPATCH(buildMorvaEnvKernel)(); });
}

}
#endif
