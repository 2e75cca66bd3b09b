// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CHalfBandKernel.h"

// Vectors of a length known only at run time cannot be kept in arrays of registers.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Audio/Filters/CHalfBandKernel.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "Audio/Filters/KernelBuilds.h" // only now, behind the choice of targets

HWY_BEFORE_NAMESPACE();
namespace kor
{
namespace HWY_NAMESPACE
{

#if HWY_TARGET == HWY_SCALAR

template <int count>
void processHalfBand(const CHalfBandRun& run, const double* in, double* out, int samples)
{
    double late = *run.late;
    for (int n = 0; n < samples; ++n)
    {
        double ends[2];
        for (int chain = 0; chain < 2; ++chain)
        {
            double* point = run.memory + 2 * chain + (n & 1);
            double u = in[n];
            for (int section = 0; section < count; ++section, point += CHalfBandRun::streams)
            {
                const double c = run.coefficients[chain * count + section];
                const double v = c * (u - point[CHalfBandRun::streams]) + *point;
                *point = u;
                u = v;
            }
            *point = u;
            ends[chain] = u;
        }
        out[n] = 0.5 * (ends[0] + late);
        late = ends[1];
    }
    *run.late = late;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

// Written out by the compiler, so that all of it stays in registers. The product with the section's own last output
// comes last: from one pair of samples to the next there is then one multiplication to wait for, and the processor
// works on several pairs at a time.
template <int count, int section = 0, class V>
HWY_INLINE HWY_ATTR V passSections(const V* c, V* point, V u)
{
    if constexpr (section == count)
    {
        point[count] = u;
        return u;
    }
    else
    {
        const V fresh = hn::MulAdd(c[section], u, point[section]);
        const V v = hn::NegMulAdd(c[section], point[section + 1], fresh);
        point[section] = u;
        return passSections<count, section + 1>(c, point, v);
    }
}

template <int count, class D = hn::CappedTag<double, CHalfBandRun::streams>>
void processHalfBand(const CHalfBandRun& run, const double* in, double* out, int samples)
{
    using V = hn::Vec<D>;
    const D tag;
    constexpr int lanes = static_cast<int>(hn::MaxLanes(D()));
    constexpr int vectors = CHalfBandRun::streams / lanes; // 1: both chains in one; 2: a chain in each
    const hn::FixedTag<double, 2> pairTag;
    using Pair = hn::Vec<decltype(pairTag)>;
    const Pair half = hn::Set(pairTag, 0.5);

    V c[vectors][count];
    V point[vectors][count + 1];
    for (int v = 0; v < vectors; ++v)
    {
        for (int section = 0; section < count; ++section)
        {
            const double* own = run.coefficients + section;
            HWY_ALIGN const double spread[CHalfBandRun::streams] = {own[0], own[0], own[count], own[count]};
            c[v][section] = hn::Load(tag, spread + v * lanes);
        }
        for (int k = 0; k <= count; ++k)
            point[v][k] = hn::LoadU(tag, run.memory + k * CHalfBandRun::streams + v * lanes);
    }

    Pair before = hn::Set(pairTag, *run.late); // the second chain's last pair
    for (int n = 0; n < samples; n += 2)
    {
        Pair first;
        Pair second;
        if constexpr (vectors == 1)
        {
            const V v = passSections<count>(c[0], point[0], hn::LoadDup128(tag, in + n));
            first = hn::LowerHalf(v);
            second = hn::UpperHalf(pairTag, v);
        }
        else
        {
            const V x = hn::LoadU(tag, in + n);
            first = passSections<count>(c[0], point[0], x);
            second = passSections<count>(c[vectors - 1], point[vectors - 1], x);
        }
        const Pair late = hn::CombineShiftRightBytes<sizeof(double)>(pairTag, second, before);
        hn::StoreU(hn::Mul(half, hn::Add(first, late)), pairTag, out + n);
        before = second;
    }
    if (samples > 0)
        *run.late = hn::GetLane(hn::DupOdd(before));
    for (int v = 0; v < vectors; ++v)
        for (int k = 0; k <= count; ++k)
            hn::StoreU(point[v][k], tag, run.memory + k * CHalfBandRun::streams + v * lanes);
}

#endif

const CHalfBandKernel* buildHalfBandKernel()
{
    static const CHalfBandKernel kernel = {{&processHalfBand<1>, &processHalfBand<2>, &processHalfBand<3>,
                                            &processHalfBand<4>, &processHalfBand<5>, &processHalfBand<6>,
                                            &processHalfBand<7>, &processHalfBand<8>},
                                           hwy::TargetName(HWY_TARGET)};
    return &kernel;
}

}
}
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kor
{

HWY_EXPORT(buildHalfBandKernel);

const CHalfBandKernel& halfBandKernel() noexcept
{
    static const CHalfBandKernel* const chosen = HWY_DYNAMIC_DISPATCH(buildHalfBandKernel)();
    return *chosen;
}

std::vector<const CHalfBandKernel*> allHalfBandKernels()
{
    return allKernelBuilds([] { return HWY_DYNAMIC_DISPATCH(buildHalfBandKernel)(); });
}

}
#endif
