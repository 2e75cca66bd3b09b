// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/CLock.h"

namespace kor
{

namespace
{
thread_local unsigned waitCount = 0;
}

void CLock::lock()
{
    if (mutex.try_lock())
        return;
    ++waitCount;
    mutex.lock();
}

bool CLock::try_lock()
{
    return mutex.try_lock();
}

void CLock::unlock()
{
    mutex.unlock();
}

unsigned CLock::waitsOfThisThread() noexcept
{
    return waitCount;
}

}
