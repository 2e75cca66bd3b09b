// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <pthread.h>

namespace kor
{

// The system's mutex under CLock: recursive, and it lends the holder the priority of the first thread that waits. Without
// that, an audio thread that meets a held lock could wait for a holder that the scheduler has put aside for any other
// thread of middle priority. Where the system has no such lending it is a plain recursive mutex.
class CSystemMutex
{
public:
    CSystemMutex();
    ~CSystemMutex();
    CSystemMutex(const CSystemMutex&) = delete;
    CSystemMutex& operator=(const CSystemMutex&) = delete;

    /// Any thread; each entry is left once, by the thread that entered.
    void lock() noexcept { pthread_mutex_lock(&handle); }
    bool try_lock() noexcept { return pthread_mutex_trylock(&handle) == 0; }
    void unlock() noexcept { pthread_mutex_unlock(&handle); }

private:
    pthread_mutex_t handle;
};

}
