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

    /// What the thread has done since construction: calls of the C heap (operator new and delete included; a realloc is
    /// two), small blocks taken or given back, and locks found held. 0 for code that may run on the audio thread.
    std::size_t faults() const noexcept;

    /// Of these, the locks that the thread found held by another.
    std::size_t lockWaits() const noexcept;

private:
    std::size_t faultsBefore;
    std::size_t waitsBefore;
};

}
