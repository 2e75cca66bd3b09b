// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <cstddef>

namespace kor
{

// The head of a specification of the real FFT: the passes that a size is made of, and where their tables lie behind
// the head. It is the same in every build; what the tables hold depends on the number of lanes.
struct CRealFftPlan
{
    // Sizes up to 16 are summed directly, with one table of roots. From 32 on the passes apply.
    static constexpr int directOrder = 4;
    static constexpr int maxPasses = 9;
    static constexpr std::size_t planarGap = 8;    // keeps the parts of one number in different cache sets

    int order;
    int passes = 0;
    std::size_t size, half;                        // samples, and the complex numbers they are taken as
    int radix[maxPasses] = {};
    std::size_t tables[maxPasses] = {};            // doubles from the head
    std::size_t end;                               // of the last table, likewise

    /// order: 0 to CRealFft::maxOrder.
    explicit CRealFftPlan(int blockOrder) noexcept
        : order(blockOrder), size(std::size_t(1) << blockOrder), half(size / 2)
    {
        end = roundUp((sizeof(CRealFftPlan) + sizeof(double) - 1) / sizeof(double));
        if (order <= directOrder)
        {
            tables[0] = end;
            end += roundUp(2 * size);
            return;
        }
        // Radix 8 where it divides, then 4, so that the first radix is at least the number of lanes and the product
        // before the last at least twice that. For 128 samples three passes of radix 4 were a fifth faster than two
        // of radix 8.
        std::size_t count = half;
        for (int bits = order - 1; bits > 0; ++passes)
        {
            const bool isFour = bits == 2 || bits == 4 || order == 7;
            const std::size_t r = isFour ? 4 : 8;
            bits -= isFour ? 2 : 3;
            count /= r;
            radix[passes] = static_cast<int>(r);
            tables[passes] = end;
            end += roundUp(bits > 0 ? 2 * (r - 1) * count : half + 4 * r);
        }
    }

    double* table(int pass) noexcept { return reinterpret_cast<double*>(this) + tables[pass]; }
    const double* table(int pass) const noexcept { return reinterpret_cast<const double*>(this) + tables[pass]; }

    /// Up to the next count of doubles that keeps vectors aligned.
    static constexpr std::size_t roundUp(std::size_t doubles) noexcept { return (doubles + 7) & ~std::size_t(7); }
};

// The roots of one of order `size`, a power of two, from cosines and sines of the first eighth of the circle, where
// they are most exact.
class CUnitRoots
{
public:
    /// Of the buffer.
    static std::size_t bytes(std::size_t size) noexcept { return (size / 8 + 1) * 2 * sizeof(double); }

    CUnitRoots(std::size_t points, void* buffer) noexcept : size(points), table(static_cast<double*>(buffer))
    {
        for (std::size_t i = 0; i <= size / 8; ++i)
        {
            const double angle = 6.283185307179586476925 * static_cast<double>(i) / static_cast<double>(size);
            table[2 * i] = std::cos(angle);
            table[2 * i + 1] = std::sin(angle);
        }
    }

    /// exp(-2 pi i index / size); any index.
    void get(std::size_t index, double& re, double& im) const noexcept
    {
        index &= size - 1;
        const bool lower = 2 * index > size;                        // below the real axis
        if (lower)
            index = size - index;
        const bool left = 4 * index > size;                         // beyond a quarter circle
        if (left)
            index = size / 2 - index;
        const bool steep = 8 * index > size;
        if (steep)
            index = size / 4 - index;
        const double c = table[2 * index + (steep ? 1 : 0)], s = table[2 * index + (steep ? 0 : 1)];
        re = left ? -c : c;
        im = lower ? s : -s;
    }

private:
    std::size_t size;
    double* table;
};

}
