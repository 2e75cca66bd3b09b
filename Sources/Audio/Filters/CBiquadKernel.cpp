// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CBiquadKernel.h"

#include "Audio/Filters/CBiquadStateSpace.h"

// Vectors of a length known only at run time cannot be kept in arrays of registers.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Audio/Filters/CBiquadKernel.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "Audio/Filters/KernelBuilds.h" // only now, behind the choice of targets

HWY_BEFORE_NAMESPACE();
namespace kor
{
namespace HWY_NAMESPACE
{

#if HWY_TARGET == HWY_SCALAR

// Without vectors a block would only be more work.
void processBiquadBlocks(const CBiquadBlock& block, CBiquadMemory& memory, const double* in, double* out, int count)
{
    processBiquadSamples(block, memory, in, out, count);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

// The column of input j and those after it. Written out by the compiler, so that `y` stays in registers.
template <int j, class D, class V = hn::Vec<D>>
HWY_INLINE HWY_ATTR void addColumns(D d, const CBiquadBlock& block, const double* in, V* y)
{
    if constexpr (j < CBiquadBlock::length)
    {
        constexpr int lanes = static_cast<int>(hn::MaxLanes(D()));
        const V x = hn::Set(d, in[j]);
        for (int v = j / lanes; v < CBiquadBlock::length / lanes; ++v)
        {
            const V column = hn::Load(d, block.response[j] + v * lanes);
            y[v] = j == 0 ? hn::Mul(column, x) : hn::MulAdd(column, x, y[v]);
        }
        addColumns<j + 1>(d, block, in, y);
    }
}

// Lanes run along time: one vector, or several, hold the eight outputs of a block. Every input is spread to all lanes
// and multiplied by its column; a column has no effect before its own sample, so vectors that end before it skip it.
// The memory is a register of pairs w, d, w, d, ..., so that spreading it costs one step of the recurrence's chain.
// What does not wait for the memory is kept out of that chain.
void processBiquadBlocks(const CBiquadBlock& block, CBiquadMemory& memory, const double* in, double* out, int count)
{
    constexpr int length = CBiquadBlock::length;
    const hn::CappedTag<double, length> d;
    using V = hn::Vec<decltype(d)>;
    constexpr int lanes = static_cast<int>(hn::MaxLanes(d));
    constexpr int vectors = length / lanes;

    const V stepW = hn::LoadDup128(d, block.step[0]);
    const V stepD = hn::LoadDup128(d, block.step[1]);
    const V lowW = hn::LoadDup128(d, block.stepLow[0]);
    const V lowD = hn::LoadDup128(d, block.stepLow[1]);
    HWY_ALIGN double pair[2] = {memory.w, memory.d};
    V state = hn::LoadDup128(d, pair);
    for (int n = 0; n < count; n += length, in += length, out += length)
    {
        V y[vectors];
        addColumns<0>(d, block, in, y);
        V toW = hn::Zero(d);
        V toD = hn::Zero(d);
        for (int v = 0; v < vectors; ++v)
        {
            const V x = hn::LoadU(d, in + v * lanes);
            const V columnW = hn::Load(d, block.toMemory[0] + v * lanes);
            const V columnD = hn::Load(d, block.toMemory[1] + v * lanes);
            toW = v == 0 ? hn::Mul(columnW, x) : hn::MulAdd(columnW, x, toW);
            toD = v == 0 ? hn::Mul(columnD, x) : hn::MulAdd(columnD, x, toD);
        }
        V add = hn::Add(hn::InterleaveLower(d, toW, toD), hn::InterleaveUpper(d, toW, toD));
        if constexpr (lanes == 8)
            add = hn::Add(add, hn::ConcatLowerUpper(d, add, add));
        if constexpr (lanes >= 4)
            add = hn::Add(add, hn::SwapAdjacentBlocks(add));

        const V w = hn::DupEven(state);
        const V diff = hn::DupOdd(state);
        const V rest = hn::MulAdd(lowD, diff, hn::MulAdd(lowW, w, add));
        state = hn::Add(hn::MulAdd(stepD, diff, hn::MulAdd(stepW, w, state)), rest);
        for (int v = 0; v < vectors; ++v)
        {
            y[v] = hn::MulAdd(hn::Load(d, block.fromD + v * lanes), diff, y[v]);
            y[v] = hn::MulAdd(hn::Load(d, block.fromW + v * lanes), w, y[v]);
            hn::StoreU(y[v], d, out + v * lanes);
        }
    }
    memory.w = hn::GetLane(state);
    memory.d = hn::GetLane(hn::DupOdd(state));
}

#endif

const CBiquadKernel* buildBiquadKernel()
{
    static const CBiquadKernel kernel = {&processBiquadBlocks, hwy::TargetName(HWY_TARGET)};
    return &kernel;
}

}
}
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kor
{

HWY_EXPORT(buildBiquadKernel);

const CBiquadKernel& biquadKernel() noexcept
{
    static const CBiquadKernel* const chosen = HWY_DYNAMIC_DISPATCH(buildBiquadKernel)();
    return *chosen;
}

std::vector<const CBiquadKernel*> allBiquadKernels()
{
    return allKernelBuilds([] { return HWY_DYNAMIC_DISPATCH(buildBiquadKernel)(); });
}

}
#endif
