// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CRealFft.h"

#include "Audio/Filters/CRealFftPlan.h"

#include <algorithm>
#include <cstdint>
#include <new>

// Builds for 512, 256 and 128 bits and a plain one on x86-64, NEON on aarch64; the sets in between gain nothing here,
// and the scalable vectors of SVE do not fit passes of a constant number of lanes.
// Sanitizer builds leave two more out: each build takes them half a minute to compile, and they differ only in width.
#if defined(KOR_SANITIZE)
#define HWY_DISABLED_TARGETS                                                                                          \
    (HWY_AVX3 | HWY_SSE4 | HWY_SSSE3 | HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
#else
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
#endif
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Audio/Filters/CRealFft.cpp"
#include "hwy/foreach_target.h"
// The passes follow the targets.
#include "Audio/Filters/RealFftPasses-inl.h"
#include "hwy/highway.h"

#include "Audio/Filters/KernelBuilds.h" // only now, behind the choice of targets

HWY_BEFORE_NAMESPACE();
namespace kor
{
namespace HWY_NAMESPACE
{
constexpr std::size_t fullLanes = hn::MaxLanes(hn::CappedTag<double, 8>());

// Small blocks are too short for the widest vectors.
constexpr std::size_t lanesOf(int order)
{
    return std::min<std::size_t>(fullLanes, order <= 5 ? 2 : order <= 7 ? 4 : 8);
}

bool getSizes(int order, int flags, int, CRealFft::CSizes& sizes) noexcept
{
    sizes = {};
    if (order < 0 || order > CRealFft::maxOrder || flags != CRealFft::noScaling)
        return false;
    const CRealFftPlan plan = CRealFftPlan(order);
    sizes.specification = plan.end * sizeof(double);
    sizes.init = CUnitRoots::bytes(plan.size);
    sizes.work = (2 * plan.size + CRealFftPlan::roundUp(CRealFftPlan::planarGap)) * sizeof(double);
    return true;
}

bool init(int order, int flags, int, void* specification, void* initBuffer) noexcept
{
    if (order < 0 || order > CRealFft::maxOrder || flags != CRealFft::noScaling)
        return false;
    CRealFftPlan& plan = *new (specification) CRealFftPlan(order);
    const CUnitRoots roots(plan.size, initBuffer);
    if (order <= CRealFftPlan::directOrder)
    {
        for (std::size_t i = 0; i < plan.size; ++i)
            roots.get(i, plan.table(0)[2 * i], plan.table(0)[2 * i + 1]);
        return true;
    }
    const std::size_t L = lanesOf(order);
    std::size_t stride = 1, count = plan.half;
    for (int i = 0; i < plan.passes; ++i)
    {
        const std::size_t radix = static_cast<std::size_t>(plan.radix[i]);
        count /= radix;
        double* table = plan.table(i);
        if (i + 1 == plan.passes)
        {
            for (std::size_t block = 0; block < stride / (2 * L); ++block)
                for (std::size_t k = 0; k < radix; ++k, table += 2 * L)
                    for (std::size_t lane = 0; lane < L; ++lane)
                    {
                        double re, im;
                        roots.get(lastPassBlock(block, L) + lane + stride * k, re, im);
                        table[lane] = 0.5 * im;
                        table[L + lane] = -0.5 * re;
                    }
            for (std::size_t k = 0; k < 2 * radix; ++k, table += 2)
            {
                double re, im;
                roots.get(k < radix ? stride * k : stride / 2 + stride * (k - radix), re, im);
                table[0] = 0.5 * im;
                table[1] = -0.5 * re;
            }
        }
        else if (i == 0)
        {
            for (std::size_t p = 0; p < count; p += L)
                for (std::size_t k = 1; k < radix; ++k, table += 2 * L)
                    for (std::size_t lane = 0; lane < L; ++lane)
                        roots.get(2 * k * (p + pairOrder(lane, L)), table[lane], table[L + lane]);
        }
        else
        {
            for (std::size_t p = 0; p < count; ++p)
                for (std::size_t k = 1; k < radix; ++k, table += 2)
                    roots.get(2 * k * p * stride, table[0], table[1]);
        }
        stride *= radix;
    }
    return true;
}

// Sums for the sizes that the passes are too wide for.
void forwardDirect(const CRealFftPlan& plan, const double* source, double* result) noexcept
{
    const std::size_t n = plan.size;
    double x[std::size_t(1) << CRealFftPlan::directOrder];
    std::copy(source, source + n, x);
    for (std::size_t k = 0; k <= n / 2; ++k)
    {
        double re = 0.0, im = 0.0;
        for (std::size_t i = 0; i < n; ++i)
        {
            const double* root = plan.table(0) + 2 * (i * k & (n - 1));
            re += x[i] * root[0];
            im += x[i] * root[1];
        }
        if (k == 0)
            result[0] = re;
        else if (k == n / 2)
            result[1] = re;
        else
            result[2 * k] = re, result[2 * k + 1] = im;
    }
}

void inverseDirect(const CRealFftPlan& plan, const double* source, double* result) noexcept
{
    const std::size_t n = plan.size;
    double x[std::size_t(1) << CRealFftPlan::directOrder];
    std::copy(source, source + n, x);
    for (std::size_t i = 0; i < n; ++i)
    {
        double sum = x[0] + (n == 1 ? 0.0 : i % 2 == 0 ? x[1] : -x[1]);
        for (std::size_t k = 1; k < n / 2; ++k)
        {
            const double* root = plan.table(0) + 2 * (i * k & (n - 1));
            sum += 2.0 * (x[2 * k] * root[0] + x[2 * k + 1] * root[1]);
        }
        result[i] = sum;
    }
}

// The columns q = 0 and q = s / 2 of the last pass, whose mirror images are themselves.
template <std::size_t R>
void lastPassEdges(std::size_t n, const double* in, std::size_t imaginary, double* result, const double* table) noexcept
{
    const hn::CappedTag<double, 1> d;
    using V = hn::Vec<decltype(d)>;
    const std::size_t s = n / R;
    for (std::size_t column = 0; column < 2; ++column)
    {
        V re[R], im[R];
        double zr[R], zi[R];
        each<R>([&](auto j) KOR_FFT_LAMBDA {
            re[j] = hn::LoadU(d, in + column * s / 2 + s * j);
            im[j] = hn::LoadU(d, in + column * s / 2 + s * j + imaginary);
        });
        butterfly<R>(d, re, im);
        each<R>([&](auto k) KOR_FFT_LAMBDA { zr[k] = hn::GetLane(re[k]), zi[k] = hn::GetLane(im[k]); });
        for (std::size_t k = 0; k < R; ++k)
        {
            const std::size_t bin = column * s / 2 + s * k, other = (R - column - k) % R;
            if (bin == 0)
            {
                result[0] = zr[0] + zi[0];
                result[1] = zr[0] - zi[0];
                continue;
            }
            const double ur = table[2 * (column * R + k)], ui = table[2 * (column * R + k) + 1];
            const double tr = zr[k] - zr[other], ti = zi[k] + zi[other];
            result[2 * bin] = 0.5 * (zr[k] + zr[other]) + (tr * ur - ti * ui);
            result[2 * bin + 1] = 0.5 * (zi[k] - zi[other]) + (tr * ui + ti * ur);
        }
    }
}

template <std::size_t R>
void lastPassEdgesBack(std::size_t n, const double* source, double* out, std::size_t imaginary,
                       const double* table) noexcept
{
    const hn::CappedTag<double, 1> d;
    using V = hn::Vec<decltype(d)>;
    const std::size_t s = n / R;
    for (std::size_t column = 0; column < 2; ++column)
    {
        double zr[R], zi[R];
        for (std::size_t k = 0; k < R; ++k)
        {
            const std::size_t bin = column * s / 2 + s * k, other = n - bin;
            if (bin == 0)
            {
                zr[0] = source[0] + source[1];
                zi[0] = source[0] - source[1];
                continue;
            }
            const double ur = 2.0 * table[2 * (column * R + k)], ui = -2.0 * table[2 * (column * R + k) + 1];
            const double tr = source[2 * bin] - source[2 * other], ti = source[2 * bin + 1] + source[2 * other + 1];
            zr[k] = source[2 * bin] + source[2 * other] + (tr * ur - ti * ui);
            zi[k] = source[2 * bin + 1] - source[2 * other + 1] + (tr * ui + ti * ur);
        }
        V re[R], im[R];
        each<R>([&](auto k) KOR_FFT_LAMBDA { re[k] = hn::Set(d, zr[k]), im[k] = hn::Set(d, zi[k]); });
        butterfly<R>(d, im, re);
        each<R>([&](auto j) KOR_FFT_LAMBDA {
            hn::StoreU(im[j], d, out + column * s / 2 + s * j);
            hn::StoreU(re[j], d, out + column * s / 2 + s * j + imaginary);
        });
    }
}

// Where the buffers between the passes lie: the last one in the work buffer, planar, the others by turns in the result
// and there; the first goes to a second work buffer where it would overwrite the source.
template <class D>
void forwardPasses(D d, const CRealFftPlan& plan, const double* source, double* result, double* work) noexcept
{
    const std::size_t n = plan.half, L = hn::Lanes(d);
    const CLayout planar{1, n + CRealFftPlan::planarGap}, blocked{2, L};
    double* const spare = work + CRealFftPlan::roundUp(plan.size + CRealFftPlan::planarGap);
    const int last = plan.passes - 1;
    double* in = nullptr;
    CLayout inLayout = blocked;
    std::size_t s = 1;
    for (int i = 0; i < last; ++i)
    {
        const bool toWork = (last - i) % 2 == 1;
        double* out = toWork ? work : i == 0 && source == result ? spare : result;
        const CLayout outLayout = i + 1 == last ? planar : blocked;
        if (i == 0)
        {
            if constexpr (hn::MaxLanes(D()) <= 4)
            {
                if (plan.radix[0] == 4)
                    firstPass<4>(d, n, source, out, outLayout, plan.table(0));
            }
            if (plan.radix[0] == 8)
                firstPass<8>(d, n, source, out, outLayout, plan.table(0));
        }
        else if (plan.radix[i] == 4)
            middlePass<4>(d, n, s, in, inLayout, out, outLayout, plan.table(i));
        else
            middlePass<8>(d, n, s, in, inLayout, out, outLayout, plan.table(i));
        in = out;
        inLayout = outLayout;
        s *= static_cast<std::size_t>(plan.radix[i]);
    }
    const double* edges = plan.table(last) + n;
    if (plan.radix[last] == 4)
    {
        lastPass<4>(d, n, in, planar.imaginary, result, plan.table(last));
        lastPassEdges<4>(n, in, planar.imaginary, result, edges);
    }
    else
    {
        lastPass<8>(d, n, in, planar.imaginary, result, plan.table(last));
        lastPassEdges<8>(n, in, planar.imaginary, result, edges);
    }
}

template <class D>
void inversePasses(D d, const CRealFftPlan& plan, const double* source, double* result, double* work) noexcept
{
    const std::size_t n = plan.half, L = hn::Lanes(d);
    const CLayout planar{1, n + CRealFftPlan::planarGap}, blocked{2, L};
    double* const spare = work + CRealFftPlan::roundUp(plan.size + CRealFftPlan::planarGap);
    const int last = plan.passes - 1;
    const double* edges = plan.table(last) + n;
    if (plan.radix[last] == 4)
    {
        lastPassBack<4>(d, n, source, work, planar.imaginary, plan.table(last));
        lastPassEdgesBack<4>(n, source, work, planar.imaginary, edges);
    }
    else
    {
        lastPassBack<8>(d, n, source, work, planar.imaginary, plan.table(last));
        lastPassEdgesBack<8>(n, source, work, planar.imaginary, edges);
    }
    const double* in = work;
    CLayout inLayout = planar;
    std::size_t s = n / static_cast<std::size_t>(plan.radix[last]);
    for (int i = last - 1; i > 0; --i)
    {
        s /= static_cast<std::size_t>(plan.radix[i]);
        // The buffer that the forward transform leaves between these passes, except that the last before the result
        // must not be the result.
        double* out = in != work ? work : i == 1 ? spare : result;
        if (plan.radix[i] == 4)
            middlePassBack<4>(d, n, s, in, inLayout, out, blocked, plan.table(i));
        else
            middlePassBack<8>(d, n, s, in, inLayout, out, blocked, plan.table(i));
        in = out;
        inLayout = blocked;
    }
    if constexpr (hn::MaxLanes(D()) <= 4)
    {
        if (plan.radix[0] == 4)
            firstPassBack<4>(d, n, in, inLayout, result, plan.table(0));
    }
    if (plan.radix[0] == 8)
        firstPassBack<8>(d, n, in, inLayout, result, plan.table(0));
}

void forward(const double* source, double* result, const void* specification, void* work) noexcept
{
    const CRealFftPlan& plan = *static_cast<const CRealFftPlan*>(specification);
    double* buffer = static_cast<double*>(work);
    if (plan.order <= CRealFftPlan::directOrder)
        forwardDirect(plan, source, result);
    else if (lanesOf(plan.order) == 8)
        forwardPasses(hn::CappedTag<double, 8>(), plan, source, result, buffer);
    else if (lanesOf(plan.order) == 4)
        forwardPasses(hn::CappedTag<double, 4>(), plan, source, result, buffer);
    else
        forwardPasses(hn::CappedTag<double, 2>(), plan, source, result, buffer);
}

void inverse(const double* source, double* result, const void* specification, void* work) noexcept
{
    const CRealFftPlan& plan = *static_cast<const CRealFftPlan*>(specification);
    double* buffer = static_cast<double*>(work);
    if (plan.order <= CRealFftPlan::directOrder)
        inverseDirect(plan, source, result);
    else if (lanesOf(plan.order) == 8)
        inversePasses(hn::CappedTag<double, 8>(), plan, source, result, buffer);
    else if (lanesOf(plan.order) == 4)
        inversePasses(hn::CappedTag<double, 4>(), plan, source, result, buffer);
    else
        inversePasses(hn::CappedTag<double, 2>(), plan, source, result, buffer);
}

// result = a b, or result += a b, for all bins; bins 0 and N / 2, which share the first pair, are products of reals.
template <bool add>
HWY_INLINE HWY_ATTR void multiplyBins(const double* a, const double* b, double* result, int count) noexcept
{
    const hn::CappedTag<double, 8> d;
    const int L = static_cast<int>(hn::Lanes(d));
    const double first = a[0] * b[0] + (add ? result[0] : 0.0);
    const double second = count > 1 ? a[1] * b[1] + (add ? result[1] : 0.0) : 0.0;
    int i = 0;
    for (; i + 2 * L <= count; i += 2 * L)
    {
        hn::Vec<decltype(d)> re, im, br, bi;
        loadPairs(d, a + i, re, im);
        loadPairs(d, b + i, br, bi);
        multiply(re, im, br, bi);
        if constexpr (add)
        {
            hn::Vec<decltype(d)> sumRe, sumIm;
            loadPairs(d, result + i, sumRe, sumIm);
            re = hn::Add(re, sumRe), im = hn::Add(im, sumIm);
        }
        storePairs(d, re, im, result + i);
    }
    for (; i + 2 <= count; i += 2)
    {
        const double re = a[i] * b[i] - a[i + 1] * b[i + 1], im = a[i] * b[i + 1] + a[i + 1] * b[i];
        result[i] = re + (add ? result[i] : 0.0);
        result[i + 1] = im + (add ? result[i + 1] : 0.0);
    }
    result[0] = first;
    if (count > 1)
        result[1] = second;
}

void multiplyPacked(const double* a, const double* b, double* result, int count) noexcept
{
    multiplyBins<false>(a, b, result, count);
}

void multiplyAddPacked(const double* a, const double* b, double* result, int count) noexcept
{
    multiplyBins<true>(a, b, result, count);
}

void squarePacked(const double* source, double* result, int count) noexcept
{
    multiplyBins<false>(source, source, result, count);
}

const CRealFft* build()
{
    static const CRealFft table{&getSizes,          &init,         &forward, &inverse, &multiplyPacked,
                                    &multiplyAddPacked, &squarePacked, hwy::TargetName(HWY_TARGET)};
    return &table;
}

}
}
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kor
{

HWY_EXPORT(build);

const CRealFft& realFft() noexcept
{
    static const CRealFft* const chosen = HWY_DYNAMIC_DISPATCH(build)();
    return *chosen;
}

std::vector<const CRealFft*> allRealFftBuilds()
{
    return allKernelBuilds([] { return HWY_DYNAMIC_DISPATCH(build)(); });
}

}
#endif
