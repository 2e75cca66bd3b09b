// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace kor
{

// The pairs of locks that were taken one under the other where their ranks leave the order open. Two threads that take
// such a pair in opposite orders may one day wait for each other; the table tells of the second order when it is first
// taken, by whichever thread and however long after. It has a fixed size, and a new pair may push out an old one: a
// reversal may be missed by that, but none is made up. Any thread; neither allocates nor waits.
class CLockPairs
{
public:
    /// Locks are named by numbers above 0 that are never given to another one.
    void note(std::uint32_t outer, std::uint32_t inner) noexcept;

    /// True when `outer` was noted under `inner`.
    bool hasReverse(std::uint32_t outer, std::uint32_t inner) const noexcept;

private:
    std::array<std::atomic<std::uint64_t>, 4096> pairs{};
};

}
