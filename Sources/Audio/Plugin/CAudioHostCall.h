// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kor
{

// Span in which the calling thread does what a host asked for (a state, a program, an arrangement): changes of
// parameters made within it are the host's own, so it is not told of them as of a user's. Any thread but the audio
// thread; scopes may nest.
class CAudioHostCall
{
public:
    CAudioHostCall() noexcept;
    ~CAudioHostCall();
    CAudioHostCall(const CAudioHostCall&) = delete;
    CAudioHostCall& operator=(const CAudioHostCall&) = delete;

    /// True within a scope of this thread.
    static bool isOpen() noexcept;
};

}
