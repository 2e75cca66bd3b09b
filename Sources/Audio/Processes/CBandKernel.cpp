// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CBandKernel.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Audio/Processes/CBandKernel.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kor
{
namespace HWY_NAMESPACE
{

namespace hn = hwy::HWY_NAMESPACE;

// `step` works on the samples from i on, as many as its tag has lanes. The last ones go through the same operations, one
// by one, so that they round alike wherever a block ends.
template <class Step>
HWY_INLINE void forEach(int count, const Step& step)
{
    const hn::ScalableTag<double> d;
    const hn::CappedTag<double, 1> one;
    const int lanes = static_cast<int>(hn::Lanes(d));
    int i = 0;
    for (; i + lanes <= count; i += lanes)
        step(d, i);
    for (; i < count; ++i)
        step(one, i);
}

void rectify(const double* in, double* out, int count)
{
    forEach(count, [=](auto d, int i) HWY_ATTR { hn::StoreU(hn::Abs(hn::LoadU(d, in + i)), d, out + i); });
}

void larger(const double* a, const double* b, double* out, int count)
{
    forEach(count,
            [=](auto d, int i) HWY_ATTR { hn::StoreU(hn::Max(hn::LoadU(d, a + i), hn::LoadU(d, b + i)), d, out + i); });
}

void smaller(const double* a, const double* b, double* out, int count)
{
    forEach(count,
            [=](auto d, int i) HWY_ATTR { hn::StoreU(hn::Min(hn::LoadU(d, a + i), hn::LoadU(d, b + i)), d, out + i); });
}

void scale(const double* in, double factor, double* out, int count)
{
    forEach(count,
            [=](auto d, int i) HWY_ATTR { hn::StoreU(hn::Mul(hn::LoadU(d, in + i), hn::Set(d, factor)), d, out + i); });
}

void addScaled(const double* in, double factor, double* sum, int count)
{
    forEach(count, [=](auto d, int i) HWY_ATTR
            { hn::StoreU(hn::MulAdd(hn::LoadU(d, in + i), hn::Set(d, factor), hn::LoadU(d, sum + i)), d, sum + i); });
}

void blend(const double* a, const double* b, double share, double* out, int count)
{
    forEach(count,
            [=](auto d, int i) HWY_ATTR
            {
                const auto y = hn::LoadU(d, b + i);
                hn::StoreU(hn::MulAdd(hn::Sub(hn::LoadU(d, a + i), y), hn::Set(d, share), y), d, out + i);
            });
}

void mix(const double* a, const double* b, const double* position, double* out, int count)
{
    forEach(count,
            [=](auto d, int i) HWY_ATTR
            {
                const auto y = hn::LoadU(d, b + i);
                hn::StoreU(hn::MulAdd(hn::Sub(hn::LoadU(d, a + i), y), hn::LoadU(d, position + i), y), d, out + i);
            });
}

void mixWithGain(const double* a, const double* b, const double* position, double gain, double* out, int count)
{
    forEach(count,
            [=](auto d, int i) HWY_ATTR
            {
                const auto y = hn::LoadU(d, b + i);
                const auto mixed = hn::MulAdd(hn::Sub(hn::LoadU(d, a + i), y), hn::LoadU(d, position + i), y);
                hn::StoreU(hn::Mul(mixed, hn::Set(d, gain)), d, out + i);
            });
}

const CBandKernel* buildBandKernel()
{
    static const CBandKernel kernel = {&rectify, &larger, &smaller, &scale, &addScaled, &blend, &mix, &mixWithGain};
    return &kernel;
}

}
}
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kor
{

HWY_EXPORT(buildBandKernel);

const CBandKernel& bandKernel() noexcept
{
    static const CBandKernel* const chosen = HWY_DYNAMIC_DISPATCH(buildBandKernel)();
    return *chosen;
}

}
#endif
