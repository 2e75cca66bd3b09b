// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kor
{

// Sets the calling thread to round to nearest for a scope, since all rounding of the program counts on it and a host
// may call with another mode. It stands around the start and end of the process-wide part and every entry of the host.
// Any thread, the audio thread included; costs a read of the mode when that is right already.
class CRoundingGuard
{
public:
    CRoundingGuard() noexcept;
    ~CRoundingGuard();
    CRoundingGuard(const CRoundingGuard&) = delete;
    CRoundingGuard& operator=(const CRoundingGuard&) = delete;

private:
    int formerMode;
};

}
