// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CAudioHostCall.h"

namespace kor
{

namespace
{
thread_local int openCalls = 0;
}

CAudioHostCall::CAudioHostCall() noexcept
{
    ++openCalls;
}

CAudioHostCall::~CAudioHostCall()
{
    --openCalls;
}

bool CAudioHostCall::isOpen() noexcept
{
    return openCalls > 0;
}

}
