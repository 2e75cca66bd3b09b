// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

namespace kor::test
{

// Proves that a stretch of code is fit for the audio thread: from its construction on it counts what the calling
// thread does to the heap, to the small blocks and to locks that it had to wait for. Belongs to one thread.
class CRealtimeGuard
{
public:
    /// False under a sanitizer, which owns the heap's functions: then only small blocks and lock waits are counted.
#if defined(KOR_SANITIZE)
    static constexpr bool canSeeHeap = false;
#else
    static constexpr bool canSeeHeap = true;
#endif

    CRealtimeGuard() noexcept;

    /// Calls of the C heap since construction, operator new and delete included; a realloc is one of each.
    std::size_t allocations() const noexcept;
    std::size_t frees() const noexcept;

    /// Small blocks taken or given back since construction.
    std::size_t blockOperations() const noexcept;

    /// Locks that the thread found held by another.
    std::size_t lockWaits() const noexcept;

    /// The sum of all: 0 for code that may run on the audio thread.
    std::size_t faults() const noexcept;

private:
    std::size_t allocationsBefore;
    std::size_t freesBefore;
    std::size_t blocksBefore;
    std::size_t waitsBefore;
};

}
