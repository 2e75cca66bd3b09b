// SPDX-License-Identifier: GPL-3.0-or-later
// The vector passes of the real FFT, compiled once per instruction set. A block of N samples is taken as n = N / 2
// complex numbers and transformed by decimation in frequency with self-sorting passes: pass by pass the data move
// between two buffers, element q + s (p + m j) of the input going to q + s (R p + k) of the output, where R is the
// radix, s the product of the radices before, m = n / (s R), j and k = 0 .. R - 1. From the second pass on the lanes
// of a vector are neighbours in q, so that no pass but the first moves data between lanes. The last pass needs no
// twiddles and does the step from the complex to the real spectrum as well, for a block of q and its mirror image.
// The inverse runs the same passes backwards, with real and imaginary parts exchanged in place of conjugation.

#if defined(KOR_REAL_FFT_PASSES_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef KOR_REAL_FFT_PASSES_INL
#undef KOR_REAL_FFT_PASSES_INL
#else
#define KOR_REAL_FFT_PASSES_INL
#endif

#include "hwy/highway.h"

#include <cstddef>
#include <utility>

HWY_BEFORE_NAMESPACE();
namespace kor
{
namespace HWY_NAMESPACE
{
namespace hn = hwy::HWY_NAMESPACE;

// How a buffer holds n complex numbers, in vectors of L lanes: either L real parts, then the L imaginary parts of the
// same numbers (step 2, imaginary L), which touches the fewest cache sets, or all real parts, then all imaginary parts
// (step 1), which allows access at any element.
struct CLayout
{
    std::size_t step;                          // the vector of the elements i to i + L - 1 begins at i * step
    std::size_t imaginary;                     // doubles from a vector of real parts to its imaginary parts
};

// Lambdas take neither the target nor the inlining of the function around them.
#undef KOR_FFT_LAMBDA
#define KOR_FFT_LAMBDA HWY_ATTR __attribute__((always_inline))

// Calls f with the constants 0 to count - 1, written out.
template <std::size_t count, class F>
HWY_INLINE HWY_ATTR void each(F&& f)
{
    if constexpr (count > 0) f(std::integral_constant<std::size_t, 0>());
    if constexpr (count > 1) f(std::integral_constant<std::size_t, 1>());
    if constexpr (count > 2) f(std::integral_constant<std::size_t, 2>());
    if constexpr (count > 3) f(std::integral_constant<std::size_t, 3>());
    if constexpr (count > 4) f(std::integral_constant<std::size_t, 4>());
    if constexpr (count > 5) f(std::integral_constant<std::size_t, 5>());
    if constexpr (count > 6) f(std::integral_constant<std::size_t, 6>());
    if constexpr (count > 7) f(std::integral_constant<std::size_t, 7>());
}

// A DFT of 4 or 8 points on each lane, in place, in natural order.
template <std::size_t R, class D, class V = hn::Vec<D>>
HWY_INLINE HWY_ATTR void butterfly(D d, V* re, V* im)
{
    using hn::Add, hn::Sub;
    if constexpr (R == 4)
    {
        const V er = Add(re[0], re[2]), ei = Add(im[0], im[2]), fr = Sub(re[0], re[2]), fi = Sub(im[0], im[2]);
        const V gr = Add(re[1], re[3]), gi = Add(im[1], im[3]), hr = Sub(re[1], re[3]), hi = Sub(im[1], im[3]);
        re[0] = Add(er, gr), im[0] = Add(ei, gi);
        re[1] = Add(fr, hi), im[1] = Sub(fi, hr);
        re[2] = Sub(er, gr), im[2] = Sub(ei, gi);
        re[3] = Sub(fr, hi), im[3] = Add(fi, hr);
    }
    else
    {
        static_assert(R == 8);
        const V half = hn::Set(d, 0.70710678118654752440);
        V evenRe[4] = {Add(re[0], re[4]), Add(re[1], re[5]), Add(re[2], re[6]), Add(re[3], re[7])};
        V evenIm[4] = {Add(im[0], im[4]), Add(im[1], im[5]), Add(im[2], im[6]), Add(im[3], im[7])};
        const V ar = Sub(re[0], re[4]), ai = Sub(im[0], im[4]), br = Sub(re[1], re[5]), bi = Sub(im[1], im[5]);
        const V cr = Sub(re[2], re[6]), ci = Sub(im[2], im[6]), er = Sub(re[3], re[7]), ei = Sub(im[3], im[7]);
        butterfly<4>(d, evenRe, evenIm);
        // The odd half is a 4-point DFT of a, b (1 - i) / sqrt 2, -i c and e (-1 - i) / sqrt 2.
        const V pr = Add(ar, ci), pi = Sub(ai, cr), qr = Sub(ar, ci), qi = Add(ai, cr);
        const V dr = Sub(br, er), di = Sub(bi, ei), sr = Add(br, er), si = Add(bi, ei);
        const V ur = Add(dr, si), ui = Sub(di, sr);         // sum of the second and fourth, times sqrt 2
        const V vr = Add(sr, di), vi = Sub(si, dr);         // their difference, times sqrt 2
        each<4>([&](auto k) KOR_FFT_LAMBDA { re[2 * k] = evenRe[k], im[2 * k] = evenIm[k]; });
        re[1] = hn::MulAdd(half, ur, pr), im[1] = hn::MulAdd(half, ui, pi);
        re[5] = hn::NegMulAdd(half, ur, pr), im[5] = hn::NegMulAdd(half, ui, pi);
        re[3] = hn::MulAdd(half, vi, qr), im[3] = hn::NegMulAdd(half, vr, qi);
        re[7] = hn::NegMulAdd(half, vi, qr), im[7] = hn::MulAdd(half, vr, qi);
    }
}

template <class V>
HWY_INLINE HWY_ATTR void multiply(V& re, V& im, V wr, V wi)
{
    const V r = hn::MulSub(re, wr, hn::Mul(im, wi));
    im = hn::MulAdd(re, wi, hn::Mul(im, wr));
    re = r;
}

// Loads L complex numbers, lane by lane in the order that pairOrder names, which saves the sorting.
template <class D, class V = hn::Vec<D>>
HWY_INLINE HWY_ATTR void loadPairs(D d, const double* source, V& re, V& im)
{
    const V a = hn::LoadU(d, source), b = hn::LoadU(d, source + hn::Lanes(d));
#if HWY_TARGET == HWY_SCALAR
    re = a, im = b;
#else
    re = hn::InterleaveLower(d, a, b);
    im = hn::InterleaveUpper(d, a, b);
#endif
}

template <class D, class V = hn::Vec<D>>
HWY_INLINE HWY_ATTR void storePairs(D d, V re, V im, double* result)
{
#if HWY_TARGET == HWY_SCALAR
    hn::StoreU(re, d, result);
    hn::StoreU(im, d, result + 1);
#else
    hn::StoreU(hn::InterleaveLower(d, re, im), d, result);
    hn::StoreU(hn::InterleaveUpper(d, re, im), d, result + hn::Lanes(d));
#endif
}

// Which of the L numbers loadPairs puts into a lane.
constexpr std::size_t pairOrder(std::size_t lane, std::size_t lanes)
{
    return lane / 2 + (lane % 2) * (lanes / 2);
}

// Exchanges rows and lanes of L vectors.
template <class D, class V = hn::Vec<D>>
HWY_INLINE HWY_ATTR void transpose([[maybe_unused]] D d, [[maybe_unused]] V* rows)
{
#if HWY_TARGET != HWY_SCALAR
    constexpr std::size_t L = hn::MaxLanes(D());
    V t[L];
    each<L / 2>([&](auto i) KOR_FFT_LAMBDA {
        t[2 * i] = hn::InterleaveLower(d, rows[2 * i], rows[2 * i + 1]);
        t[2 * i + 1] = hn::InterleaveUpper(d, rows[2 * i], rows[2 * i + 1]);
    });
    if constexpr (L == 2)
        rows[0] = t[0], rows[1] = t[1];
#if HWY_MAX_BYTES >= 32
    else if constexpr (L == 4)
    {
        each<2>([&](auto i) KOR_FFT_LAMBDA {
            rows[i] = hn::ConcatLowerLower(d, t[2 + i], t[i]);
            rows[2 + i] = hn::ConcatUpperUpper(d, t[2 + i], t[i]);
        });
    }
#endif
#if HWY_MAX_BYTES >= 64
    else
    {
        static_assert(L == 8);
        each<2>([&](auto i) KOR_FFT_LAMBDA {
            const V ac0 = hn::ConcatLowerLower(d, t[4 + i], t[i]);
            const V ac1 = hn::ConcatUpperUpper(d, t[4 + i], t[i]);
            const V bd0 = hn::ConcatLowerLower(d, t[6 + i], t[2 + i]);
            const V bd1 = hn::ConcatUpperUpper(d, t[6 + i], t[2 + i]);
            rows[i] = hn::OddEvenBlocks(hn::SwapAdjacentBlocks(bd0), ac0);
            rows[2 + i] = hn::OddEvenBlocks(bd0, hn::SwapAdjacentBlocks(ac0));
            rows[4 + i] = hn::OddEvenBlocks(hn::SwapAdjacentBlocks(bd1), ac1);
            rows[6 + i] = hn::OddEvenBlocks(bd1, hn::SwapAdjacentBlocks(ac1));
        });
    }
#endif
#endif
}

// The first pass: from n pairs of numbers to a buffer. Its lanes are neighbours in p.
template <std::size_t R, class D>
HWY_INLINE HWY_ATTR void firstPass(D d, std::size_t n, const double* HWY_RESTRICT source, double* HWY_RESTRICT out,
                                   CLayout layout, const double* HWY_RESTRICT twiddles)
{
    using V = hn::Vec<D>;
    constexpr std::size_t L = hn::MaxLanes(D());
    const std::size_t m = n / R;
    for (std::size_t p = 0; p < m; p += L, twiddles += (R - 1) * 2 * L)
    {
        V re[R], im[R];
        each<R>([&](auto j) KOR_FFT_LAMBDA { loadPairs(d, source + 2 * (p + m * j), re[j], im[j]); });
        butterfly<R>(d, re, im);
        each<R - 1>([&](auto k) KOR_FFT_LAMBDA {
            multiply(re[k + 1], im[k + 1], hn::Load(d, twiddles + 2 * L * k), hn::Load(d, twiddles + 2 * L * k + L));
        });
        each<R / L>([&](auto part) KOR_FFT_LAMBDA {
            transpose(d, re + part * L);
            transpose(d, im + part * L);
        });
        each<L>([&](auto lane) KOR_FFT_LAMBDA {
            each<R / L>([&](auto part) KOR_FFT_LAMBDA {
                double* to = out + (R * (p + pairOrder(lane, L)) + part * L) * layout.step;
                hn::StoreU(re[part * L + lane], d, to);
                hn::StoreU(im[part * L + lane], d, to + layout.imaginary);
            });
        });
    }
}

// The first pass backwards: from a buffer of exchanged parts to n pairs of numbers.
template <std::size_t R, class D>
HWY_INLINE HWY_ATTR void firstPassBack(D d, std::size_t n, const double* HWY_RESTRICT in, CLayout layout,
                                       double* HWY_RESTRICT result, const double* HWY_RESTRICT twiddles)
{
    using V = hn::Vec<D>;
    constexpr std::size_t L = hn::MaxLanes(D());
    const std::size_t m = n / R;
    for (std::size_t p = 0; p < m; p += L, twiddles += (R - 1) * 2 * L)
    {
        V re[R], im[R];
        each<L>([&](auto lane) KOR_FFT_LAMBDA {
            each<R / L>([&](auto part) KOR_FFT_LAMBDA {
                const double* from = in + (R * (p + pairOrder(lane, L)) + part * L) * layout.step;
                re[part * L + lane] = hn::LoadU(d, from);
                im[part * L + lane] = hn::LoadU(d, from + layout.imaginary);
            });
        });
        each<R / L>([&](auto part) KOR_FFT_LAMBDA {
            transpose(d, re + part * L);
            transpose(d, im + part * L);
        });
        each<R - 1>([&](auto k) KOR_FFT_LAMBDA {
            multiply(re[k + 1], im[k + 1], hn::Load(d, twiddles + 2 * L * k), hn::Load(d, twiddles + 2 * L * k + L));
        });
        butterfly<R>(d, re, im);
        each<R>([&](auto j) KOR_FFT_LAMBDA { storePairs(d, im[j], re[j], result + 2 * (p + m * j)); });
    }
}

// A pass between two buffers; one twiddle serves a whole vector.
template <std::size_t R, class D>
HWY_INLINE HWY_ATTR void middlePass(D d, std::size_t n, std::size_t s, const double* HWY_RESTRICT in, CLayout inLayout,
                                    double* HWY_RESTRICT out, CLayout outLayout, const double* HWY_RESTRICT twiddles)
{
    using V = hn::Vec<D>;
    constexpr std::size_t L = hn::MaxLanes(D());
    const std::size_t m = n / (s * R), inStride = n / R * inLayout.step, outStride = s * outLayout.step;
    for (std::size_t p = 0; p < m; ++p, twiddles += (R - 1) * 2)
    {
        const double* from = in + s * p * inLayout.step;
        double* to = out + s * R * p * outLayout.step;
        for (std::size_t q = 0; q < s; q += L, from += L * inLayout.step, to += L * outLayout.step)
        {
            V re[R], im[R];
            each<R>([&](auto j) KOR_FFT_LAMBDA {
                re[j] = hn::LoadU(d, from + inStride * j);
                im[j] = hn::LoadU(d, from + inStride * j + inLayout.imaginary);
            });
            butterfly<R>(d, re, im);
            each<R - 1>([&](auto k) KOR_FFT_LAMBDA {
                multiply(re[k + 1], im[k + 1], hn::Set(d, twiddles[2 * k]), hn::Set(d, twiddles[2 * k + 1]));
            });
            each<R>([&](auto k) KOR_FFT_LAMBDA {
                hn::StoreU(re[k], d, to + outStride * k);
                hn::StoreU(im[k], d, to + outStride * k + outLayout.imaginary);
            });
        }
    }
}

template <std::size_t R, class D>
HWY_INLINE HWY_ATTR void middlePassBack(D d, std::size_t n, std::size_t s, const double* HWY_RESTRICT in,
                                        CLayout inLayout, double* HWY_RESTRICT out, CLayout outLayout,
                                        const double* HWY_RESTRICT twiddles)
{
    using V = hn::Vec<D>;
    constexpr std::size_t L = hn::MaxLanes(D());
    const std::size_t m = n / (s * R), inStride = s * inLayout.step, outStride = n / R * outLayout.step;
    for (std::size_t p = 0; p < m; ++p, twiddles += (R - 1) * 2)
    {
        const double* from = in + s * R * p * inLayout.step;
        double* to = out + s * p * outLayout.step;
        for (std::size_t q = 0; q < s; q += L, from += L * inLayout.step, to += L * outLayout.step)
        {
            V re[R], im[R];
            each<R>([&](auto k) KOR_FFT_LAMBDA {
                re[k] = hn::LoadU(d, from + inStride * k);
                im[k] = hn::LoadU(d, from + inStride * k + inLayout.imaginary);
            });
            each<R - 1>([&](auto k) KOR_FFT_LAMBDA {
                multiply(re[k + 1], im[k + 1], hn::Set(d, twiddles[2 * k]), hn::Set(d, twiddles[2 * k + 1]));
            });
            butterfly<R>(d, re, im);
            each<R>([&](auto j) KOR_FFT_LAMBDA {
                hn::StoreU(re[j], d, to + outStride * j);
                hn::StoreU(im[j], d, to + outStride * j + outLayout.imaginary);
            });
        }
    }
}

// The blocks of q of the last pass begin at 1, L, 2 L and so on below s / 2; q = 0 and q = s / 2 are done apart.
constexpr std::size_t lastPassBlock(std::size_t index, std::size_t lanes)
{
    return index == 0 ? 1 : index * lanes;
}

// The last pass of the forward transform, from a planar buffer to the packed spectrum. With Z the complex spectrum and
// U = -i exp(-2 pi i k / N) / 2: X[k] = S / 2 + U T and X[n - k] = conj(S / 2 - U T), where S = Z[k] + conj Z[n - k]
// and T = Z[k] - conj Z[n - k].
template <std::size_t R, class D>
HWY_INLINE HWY_ATTR void lastPass(D d, std::size_t n, const double* HWY_RESTRICT in, std::size_t imaginary,
                                  double* HWY_RESTRICT result, const double* HWY_RESTRICT turns)
{
    using V = hn::Vec<D>;
    constexpr std::size_t L = hn::MaxLanes(D());
    const std::size_t s = n / R;
    const V half = hn::Set(d, 0.5);
    for (std::size_t index = 0; index < s / (2 * L); ++index, turns += R * 2 * L)
    {
        const std::size_t q = lastPassBlock(index, L), mirror = s - q - L + 1;
        V re[R], im[R], mirrorRe[R], mirrorIm[R];
        each<R>([&](auto j) KOR_FFT_LAMBDA {
            re[j] = hn::LoadU(d, in + q + s * j);
            im[j] = hn::LoadU(d, in + q + s * j + imaginary);
        });
        butterfly<R>(d, re, im);
        each<R>([&](auto j) KOR_FFT_LAMBDA {
            mirrorRe[j] = hn::LoadU(d, in + mirror + s * j);
            mirrorIm[j] = hn::LoadU(d, in + mirror + s * j + imaginary);
        });
        butterfly<R>(d, mirrorRe, mirrorIm);
        each<R>([&](auto k) KOR_FFT_LAMBDA {
            const V mr = hn::Reverse(d, mirrorRe[R - 1 - k]), mi = hn::Reverse(d, mirrorIm[R - 1 - k]);
            const V sr = hn::Add(re[k], mr), si = hn::Sub(im[k], mi);
            V tr = hn::Sub(re[k], mr), ti = hn::Add(im[k], mi);
            multiply(tr, ti, hn::Load(d, turns + 2 * L * k), hn::Load(d, turns + 2 * L * k + L));
            hn::StoreInterleaved2(hn::MulAdd(half, sr, tr), hn::MulAdd(half, si, ti), d, result + 2 * (q + s * k));
            hn::StoreInterleaved2(hn::Reverse(d, hn::MulSub(half, sr, tr)), hn::Reverse(d, hn::NegMulAdd(half, si, ti)),
                                  d, result + 2 * (mirror + s * (R - 1 - k)));
        });
    }
}

// The last pass backwards, from the packed spectrum to a planar buffer with exchanged parts: Z[k] = S + 2 conj(U) T and
// Z[n - k] = conj(S - 2 conj(U) T), where S = X[k] + conj X[n - k] and T = X[k] - conj X[n - k].
template <std::size_t R, class D>
HWY_INLINE HWY_ATTR void lastPassBack(D d, std::size_t n, const double* HWY_RESTRICT source, double* HWY_RESTRICT out,
                                      std::size_t imaginary, const double* HWY_RESTRICT turns)
{
    using V = hn::Vec<D>;
    constexpr std::size_t L = hn::MaxLanes(D());
    const std::size_t s = n / R;
    const V two = hn::Set(d, 2.0);
    for (std::size_t index = 0; index < s / (2 * L); ++index, turns += R * 2 * L)
    {
        const std::size_t q = lastPassBlock(index, L), mirror = s - q - L + 1;
        V re[R], im[R], mirrorRe[R], mirrorIm[R];
        each<R>([&](auto k) KOR_FFT_LAMBDA {
            V xr, xi, yr, yi;
            hn::LoadInterleaved2(d, source + 2 * (q + s * k), xr, xi);
            hn::LoadInterleaved2(d, source + 2 * (mirror + s * (R - 1 - k)), yr, yi);
            yr = hn::Reverse(d, yr), yi = hn::Reverse(d, yi);
            const V sr = hn::Add(xr, yr), si = hn::Sub(xi, yi);
            V tr = hn::Sub(xr, yr), ti = hn::Add(xi, yi);
            multiply(tr, ti, hn::Load(d, turns + 2 * L * k), hn::Neg(hn::Load(d, turns + 2 * L * k + L)));
            re[k] = hn::MulAdd(two, tr, sr), im[k] = hn::MulAdd(two, ti, si);
            mirrorRe[R - 1 - k] = hn::Reverse(d, hn::NegMulAdd(two, tr, sr));
            mirrorIm[R - 1 - k] = hn::Reverse(d, hn::MulSub(two, ti, si));
        });
        butterfly<R>(d, im, re);
        each<R>([&](auto j) KOR_FFT_LAMBDA {
            hn::StoreU(im[j], d, out + q + s * j);
            hn::StoreU(re[j], d, out + q + s * j + imaginary);
        });
        butterfly<R>(d, mirrorIm, mirrorRe);
        each<R>([&](auto j) KOR_FFT_LAMBDA {
            hn::StoreU(mirrorIm[j], d, out + mirror + s * j);
            hn::StoreU(mirrorRe[j], d, out + mirror + s * j + imaginary);
        });
    }
}

}
}
HWY_AFTER_NAMESPACE();

#endif
