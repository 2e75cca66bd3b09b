// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <mutex>

namespace kor
{

// The one lock of the system: recursive, not fair, held for short times. Entering a lock that another thread holds
// is counted per thread, so that a test can prove that the audio thread never waited (see waitsOfThisThread).
class CLock
{
public:
    CLock() = default;
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
    std::recursive_mutex mutex;
};

/// Holds a CLock for a scope.
using CLockHolder = std::lock_guard<CLock>;

}
