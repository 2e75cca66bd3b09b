// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <mutex>

namespace kor
{

// What a thread sleeps on until another has something for it. A signal that nobody waits for is kept, and one wait takes
// it away; several signals in between count as one.
class CAutoResetEvent
{
public:
    /// Any thread.
    void signal();

    /// Returns once the event is signalled, and takes the signal.
    void wait();

    /// Forgets a signal that was kept.
    void reset();

private:
    std::mutex mutex;
    std::condition_variable wakeUp;
    bool isSignalled = false;
};

}
