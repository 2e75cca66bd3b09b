// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/CLockPairs.h"

#include <algorithm>

namespace kor
{
namespace
{

std::uint64_t pairOf(std::uint32_t outer, std::uint32_t inner) noexcept
{
    return std::uint64_t{outer} << 32 | inner;
}

/// The same for both orders.
std::size_t slotOf(std::uint32_t a, std::uint32_t b, std::size_t count) noexcept
{
    return static_cast<std::size_t>(pairOf(std::min(a, b), std::max(a, b)) * 0x9E3779B97F4A7C15u >> 32) % count;
}

}

// A word a pair, whole in itself: no order between memory accesses hangs on it.
void CLockPairs::note(std::uint32_t outer, std::uint32_t inner) noexcept
{
    pairs[slotOf(outer, inner, pairs.size())].store(pairOf(outer, inner), std::memory_order_relaxed);
}

bool CLockPairs::hasReverse(std::uint32_t outer, std::uint32_t inner) const noexcept
{
    return pairs[slotOf(outer, inner, pairs.size())].load(std::memory_order_relaxed) == pairOf(inner, outer);
}

}
