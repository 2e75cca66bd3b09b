// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>

namespace kor
{

// One descriptor that a host's run loop can watch: it is readable while somebody has called wake, or once a deadline has
// passed, until clear is called. Making it can fail; then error() tells and all else does nothing.
class CWakeDescriptor
{
public:
    using CTime = std::chrono::steady_clock::time_point;
    static constexpr CTime never = CTime::max();

    CWakeDescriptor();
    ~CWakeDescriptor();
    CWakeDescriptor(const CWakeDescriptor&) = delete;
    CWakeDescriptor& operator=(const CWakeDescriptor&) = delete;

    /// The system's number of what went wrong when it was made, 0 for nothing.
    int error() const noexcept { return failure; }

    /// For poll and its relatives, to be watched for reading only. -1 when it could not be made.
    int descriptor() const noexcept { return pollFd; }

    /// Makes the descriptor readable. Returns 0 or the system's error number. Any thread, the audio thread included:
    /// one write that does not wait.
    int wake() noexcept;

    /// The descriptor becomes readable at `deadline`, at once if that has passed; `never` takes the deadline away.
    void setDeadline(CTime deadline) noexcept;

    /// Makes it unreadable until the next wake or setDeadline. What clear finds done is visible to the caller.
    void clear() noexcept;

    /// Sleeps until the descriptor is readable, at most `seconds`, which may be infinite.
    void wait(double seconds) noexcept;

private:
    int pollFd = -1;
    int wakeFd = -1;
    int timerFd = -1;
    int failure = 0;
};

}
