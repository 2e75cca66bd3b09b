// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CMetaTubeKernel.h"

#include <algorithm>

// Vectors of a length known only at run time cannot be members.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Audio/Processes/CMetaTubeKernel.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "Audio/Filters/KernelBuilds.h" // only now, behind the choice of targets

HWY_BEFORE_NAMESPACE();
namespace kor
{
namespace HWY_NAMESPACE
{

namespace hn = hwy::HWY_NAMESPACE;

using D = hn::CappedTag<double, 8>;
using V = hn::Vec<D>;
using Indices = decltype(hn::SetTableIndices(D(), static_cast<const std::int64_t*>(nullptr)));
constexpr int lanes = static_cast<int>(hn::MaxLanes(D()));

HWY_INLINE HWY_ATTR V set(double value)
{
    return hn::Set(D(), value);
}

// Both straight parts and the arc of every lane, of which one is taken: samples fall on all three in no order.
class CCurve
{
public:
    HWY_INLINE HWY_ATTR explicit CCurve(const CMetaTubeCurve& curve)
        : slope(set(curve.slope)), start(set(curve.kneeStart)), offset(set(curve.arcOffset)),
          end(set(curve.kneeEnd)), radius2(set(curve.arcRadius2))
    {
    }

    HWY_INLINE HWY_ATTR V at(V v) const
    {
        const V along = hn::Sub(v, start);
        const V height = hn::Sqrt(hn::Sub(radius2, hn::Mul(along, along))); // NaN where no arc is
        const V arc = hn::Add(hn::Add(offset, v), height);
        return hn::IfThenElse(hn::Le(v, start), v, hn::IfThenElse(hn::Ge(v, end), hn::Mul(v, slope), arc));
    }

private:
    V slope, start, offset, end, radius2;
};

// What both routines share: the two curves, and where the result goes.
class CShaper
{
public:
    HWY_INLINE HWY_ATTR explicit CShaper(const CMetaTubeSettings& s)
        : curveA(s.curveA), curveB(s.curveB), gainI(set(s.gainI)), biasI(set(s.biasI)), dcOffset(set(s.dcOffset)),
          outputGain(set(s.outputGain))
    {
    }

    /// a, and b - a.
    HWY_INLINE HWY_ATTR void shape(V x, V& a, V& width) const
    {
        const V v = hn::Add(hn::Mul(x, gainI), biasI);
        a = curveA.at(v);
        width = hn::Sub(curveB.at(v), a);
    }

    // No fused steps here: silence must meet dcOffset to the last bit.
    HWY_INLINE HWY_ATTR V slide(V a, V width, V m) const { return hn::Sub(hn::Add(a, hn::Mul(width, m)), dcOffset); }
    HWY_INLINE HWY_ATTR V output(V r) const { return hn::Mul(r, outputGain); }

private:
    CCurve curveA, curveB;
    V gainI, biasI, dcOffset, outputGain;
};

// Moves lanes up by 1, 2 and 4, with a fill below, and spreads the last one.
class CLaneMoves
{
public:
    HWY_INLINE HWY_ATTR CLaneMoves()
    {
        HWY_ALIGN std::int64_t index[lanes];
        std::fill_n(index, lanes, lanes - 1);
        last = hn::SetTableIndices(D(), index);
        for (int step = 0; step < steps; ++step)
        {
            for (int i = 0; i < lanes; ++i)
                index[i] = std::max(i - (1 << step), 0);
            up[step] = hn::SetTableIndices(D(), index);
        }
    }

    template <int step>
    HWY_INLINE HWY_ATTR V moveUp(V v, V fill) const
    {
        return hn::IfThenElse(hn::FirstN(D(), std::size_t{1} << step), fill, hn::TableLookupLanes(v, up[step]));
    }

    HWY_INLINE HWY_ATTR V spreadLast(V v) const { return hn::TableLookupLanes(v, last); }

    static constexpr int steps = lanes == 8 ? 3 : lanes == 4 ? 2 : lanes == 2 ? 1 : 0;

private:
    Indices last;
    Indices up[steps > 0 ? steps : 1];
};

// The recurrence r = add + scale r', of which every lane holds one step, made into one from r before the first lane:
// afterwards lane i holds the steps 0 to i in one. In all log2(lanes) rounds, and none of them waits for r.
template <int step = 0>
HWY_INLINE HWY_ATTR void chainSteps(const CLaneMoves& moves, V& add, V& scale)
{
    if constexpr (step < CLaneMoves::steps)
    {
        add = hn::MulAdd(scale, moves.moveUp<step>(add, hn::Zero(D())), add);
        scale = hn::Mul(scale, moves.moveUp<step>(scale, set(1.0)));
        chainSteps<step + 1>(moves, add, scale);
    }
}

// The output r before the output gain is linear in the one before it, r = add + scale r', since the curves depend on
// the signal alone. Only one fused step per vector stands in the chain.
class CFeedback
{
public:
    HWY_INLINE HWY_ATTR explicit CFeedback(const CMetaTubeSettings& s)
        : shaper(s), biasV(set(s.biasV)), toControl(set(s.gainV * s.feedCoefficient)),
          toFeedback(set(s.gainV - s.gainV * s.feedCoefficient)), lowest(set(-CMetaTubeKernel::largestFeedback)),
          highest(set(CMetaTubeKernel::largestFeedback))
    {
    }

    /// state: all lanes the last r; on return lane i has that of sample i.
    HWY_INLINE HWY_ATTR V process(V x, V c, V& state) const
    {
        V a, width;
        shaper.shape(x, a, width);
        V add = shaper.slide(a, width, hn::Add(hn::Mul(c, toControl), biasV));
        V scale = hn::Mul(width, toFeedback);
        chainSteps(moves, add, scale);
        state = hn::Min(hn::Max(hn::MulAdd(scale, state, add), lowest), highest);
        return shaper.output(state);
    }

    HWY_INLINE HWY_ATTR V spreadLast(V v) const { return moves.spreadLast(v); }

private:
    CShaper shaper;
    CLaneMoves moves;
    V biasV, toControl, toFeedback, lowest, highest;
};

// The one-pole s' = s + (c - s) k over a vector: lane i has s + (add - taken s), where `taken` is 1 - (1 - k)^(i + 1)
// and `add` a mean of c that weighs as much, both made by the same steps. So a long time constant keeps its digits.
class CDry
{
public:
    HWY_INLINE HWY_ATTR explicit CDry(const CMetaTubeSettings& s)
        : shaper(s), gainV(set(s.gainV)), biasV(set(s.biasV)), feed(set(s.feedCoefficient)),
          kept(set(1.0 - s.feedCoefficient)), taken(feed)
    {
        V scale = kept;
        chainSteps(moves, taken, scale);
    }

    HWY_INLINE HWY_ATTR V process(V x, V c, V& state) const
    {
        V add = hn::Mul(c, feed);
        V scale = kept;
        chainSteps(moves, add, scale);
        state = hn::Add(state, hn::NegMulAdd(taken, state, add));
        V a, width;
        shaper.shape(x, a, width);
        return shaper.output(shaper.slide(a, width, hn::Add(hn::Mul(hn::Sub(c, state), gainV), biasV)));
    }

    HWY_INLINE HWY_ATTR V spreadLast(V v) const { return moves.spreadLast(v); }

private:
    CShaper shaper;
    CLaneMoves moves;
    V gainV, biasV, feed, kept, taken;
};

template <class Routine>
void processVectors(const CMetaTubeSettings& settings, double& state, const double* x, const double* c, double* out,
                    int count)
{
    const D d;
    const Routine routine(settings);
    V memory = set(state);
    int i = 0;
    for (; i + lanes <= count; i += lanes)
    {
        const V y = routine.process(hn::LoadU(d, x + i), hn::LoadU(d, c + i), memory);
        hn::StoreU(y, d, out + i);
        memory = routine.spreadLast(memory);
    }
    state = hn::GetLane(memory);
    const int rest = count - i;
    if (rest == 0)
        return;

    HWY_ALIGN double signal[lanes] = {};
    HWY_ALIGN double dry[lanes] = {};
    std::copy_n(x + i, rest, signal);
    std::copy_n(c + i, rest, dry);
    hn::Store(routine.process(hn::Load(d, signal), hn::Load(d, dry), memory), d, signal);
    hn::Store(memory, d, dry);
    std::copy_n(signal, rest, out + i);
    state = dry[rest - 1];
}

const CMetaTubeKernel* buildMetaTubeKernel()
{
    static const CMetaTubeKernel kernel = {&processVectors<CFeedback>, &processVectors<CDry>,
                                           hwy::TargetName(HWY_TARGET)};
    return &kernel;
}

}
}
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kor
{

HWY_EXPORT(buildMetaTubeKernel);

const CMetaTubeKernel& metaTubeKernel() noexcept
{
    static const CMetaTubeKernel* const chosen = HWY_DYNAMIC_DISPATCH(buildMetaTubeKernel)();
    return *chosen;
}

std::vector<const CMetaTubeKernel*> allMetaTubeKernels()
{
    return allKernelBuilds([] { return HWY_DYNAMIC_DISPATCH(buildMetaTubeKernel)(); });
}

}
#endif
