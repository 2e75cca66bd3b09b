// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/CThreadTraits.h"

#include <pthread.h>
#include <sched.h>

namespace kor
{

void CThreadTraits::setName(const std::string& utf8)
{
    constexpr std::size_t longest = 15;
    pthread_setname_np(pthread_self(), utf8.substr(0, longest).c_str());
}

void CThreadTraits::setHighPriority()
{
    // The lowest of the real-time levels is above all normal threads and stays below the host's audio threads.
    sched_param wish = {};
    wish.sched_priority = sched_get_priority_min(SCHED_RR);
    pthread_setschedparam(pthread_self(), SCHED_RR, &wish);
}

}
