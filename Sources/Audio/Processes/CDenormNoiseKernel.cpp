// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CDenormNoiseKernel.h"

// Vectors of a length known only at run time cannot be kept in arrays of registers.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Audio/Processes/CDenormNoiseKernel.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "Audio/Filters/KernelBuilds.h" // only now, behind the choice of targets

HWY_BEFORE_NAMESPACE();
namespace kor
{
namespace HWY_NAMESPACE
{

#if HWY_TARGET == HWY_SCALAR

template <bool hasInput>
std::uint32_t process(std::uint32_t seed, const double* in, double* out, int count)
{
    for (int i = 0; i < count; ++i)
    {
        seed = CDenormNoiseStep::next(seed);
        out[i] = (hasInput ? in[i] : 0.0) + CDenormNoiseStep::sample(seed);
    }
    return seed;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

/// Several steps of the generator in one.
struct CJump
{
    explicit constexpr CJump(int steps) noexcept
    {
        for (int i = 0; i < steps; ++i)
        {
            factor *= CDenormNoiseStep::factor;
            offset = CDenormNoiseStep::next(offset);
        }
    }

    std::uint32_t factor = 1;
    std::uint32_t offset = 0;
};

/// The factor that undoes the generator's, modulo 2^32; each round of Newton's method doubles the right bits.
constexpr std::uint32_t inverseFactor() noexcept
{
    std::uint32_t inverse = 1;
    for (int bits = 1; bits < 32; bits *= 2)
        inverse *= 2u - CDenormNoiseStep::factor * inverse;
    return inverse;
}
static_assert(inverseFactor() * CDenormNoiseStep::factor == 1u);

// Every lane is a step of the generator and jumps over all others; two vectors, since a product takes its time. Seeds
// stand in lanes of 64 bits, the width of the samples; what the product leaves in the upper halves is never read.
template <bool hasInput>
std::uint32_t process(std::uint32_t seed, const double* in, double* out, int count)
{
    const hn::CappedTag<std::uint64_t, 8> d;
    const hn::Repartition<std::uint32_t, decltype(d)> half;
    const hn::RebindToFloat<decltype(d)> real;
    using V = hn::Vec<decltype(d)>;
    constexpr int lanes = static_cast<int>(hn::MaxLanes(d));
    constexpr int vectors = 2;
    constexpr CJump jump(vectors * lanes);

    std::uint32_t value = CDenormNoiseStep::next(seed);
    int i = 0;
    if (count >= vectors * lanes)
    {
        HWY_ALIGN std::uint64_t first[vectors * lanes];
        for (std::uint64_t& each : first)
        {
            each = value;
            value = CDenormNoiseStep::next(value);
        }
        V seeds[vectors] = {hn::Load(d, first), hn::Load(d, first + lanes)};
        const V factor = hn::Set(d, jump.factor);
        const V offset = hn::Set(d, jump.offset);
        const V signBit = hn::Set(d, CDenormNoiseStep::signBit);
        const V level = hn::BitCast(d, hn::Set(real, CDenormNoiseStep::level));
        for (; i + vectors * lanes <= count; i += vectors * lanes)
        {
            for (int v = 0; v < vectors; ++v)
            {
                const V sign = hn::ShiftLeft<CDenormNoiseStep::toSign>(hn::AndNot(seeds[v], signBit));
                auto sample = hn::BitCast(real, hn::Or(level, sign));
                const int at = i + v * lanes;
                if constexpr (hasInput)
                    sample = hn::Add(hn::LoadU(real, in + at), sample);
                hn::StoreU(sample, real, out + at);
                seeds[v] = hn::Add(hn::MulEven(hn::BitCast(half, seeds[v]), hn::BitCast(half, factor)), offset);
            }
        }
        value = static_cast<std::uint32_t>(hn::GetLane(seeds[0]));
    }
    for (; i < count; ++i)
    {
        out[i] = (hasInput ? in[i] : 0.0) + CDenormNoiseStep::sample(value);
        value = CDenormNoiseStep::next(value);
    }
    return (value - CDenormNoiseStep::offset) * inverseFactor();
}

#endif

const CDenormNoiseKernel* buildDenormNoiseKernel()
{
    static const CDenormNoiseKernel kernel = {&process<true>, &process<false>, hwy::TargetName(HWY_TARGET)};
    return &kernel;
}

}
}
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kor
{

HWY_EXPORT(buildDenormNoiseKernel);

const CDenormNoiseKernel& denormNoiseKernel() noexcept
{
    static const CDenormNoiseKernel* const chosen = HWY_DYNAMIC_DISPATCH(buildDenormNoiseKernel)();
    return *chosen;
}

std::vector<const CDenormNoiseKernel*> allDenormNoiseKernels()
{
    return allKernelBuilds([] { return HWY_DYNAMIC_DISPATCH(buildDenormNoiseKernel)(); });
}

}
#endif
