// SPDX-License-Identifier: GPL-3.0-or-later
#include "CInterrupt.h"

#include <csignal>
#include <initializer_list>

namespace kor
{

namespace
{

volatile std::sig_atomic_t asked = 0;

extern "C" void onInterrupt(int)
{
    asked = 1;
}

}

void CInterrupt::install()
{
    // Nor may a reader of our messages that goes away end the program in the middle.
    std::signal(SIGPIPE, SIG_IGN);
    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    {
        struct sigaction before = {};
        // A program started with a signal ignored (nohup, a background job) keeps ignoring it.
        if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN)
            continue;
        ::sigaction(signal, &action, nullptr);
    }
}

bool CInterrupt::isAsked() noexcept
{
    return asked != 0;
}

}
