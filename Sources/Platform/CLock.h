// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/CLockOrder.h"
#include "Platform/CSystemMutex.h"

#include <mutex>

namespace kor
{

// The one lock of the system: recursive, held for short times; whoever holds it while others wait runs with the highest
// priority among them. Entering a lock that another thread holds is counted per thread, so that a test can prove that
// the audio thread never waited (see waitsOfThisThread). Builds with assertions end the process with both names when a
// thread takes locks in another order than CLockRank states.
class CLock
{
public:
    /// Only the locks that others are taken under need a rank of their own.
#ifdef NDEBUG
    explicit CLock(CLockRank = CLockRank::leaf) {}
#else
    explicit CLock(CLockRank place = CLockRank::leaf);
#endif
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;

    /// Enters the lock, waiting if another thread holds it. Any thread; may be nested on one thread.
    void lock();

    /// Enters the lock if that needs no waiting; true when entered.
    bool try_lock();

    /// Leaves the lock once.
    void unlock();

    /// How often the calling thread has had to wait in lock() so far, over all locks of the process.
    static unsigned waitsOfThisThread() noexcept;

private:
    CSystemMutex mutex;
#ifndef NDEBUG
    const std::uint32_t number;             // above 0, never given again
    const CLockRank rank;
#endif
};

/// Holds a CLock for a scope.
using CLockHolder = std::lock_guard<CLock>;

}
