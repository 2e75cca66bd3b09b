// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CDataFileLock.h"

#include "Core/CStringBuf.h"

#include <chrono>
#include <thread>

namespace kor
{

CError CDataFileLock::take(const CStringBuf& path)
{
    using CClock = std::chrono::steady_clock;
    const CStringBuf lockPath = path + ".lock";
    if (const int code = file.open(lockPath.toUtf8(), CSystemFile::Mode::append))
        return KOR_FAIL("Unable to open file '%1' for %2 (error %3).", lockPath, "writing", code);
    const CClock::time_point end = CClock::now() + std::chrono::seconds(5);
    while (CSystemFile::isBusy(file.tryLock()))
    {
        if (CClock::now() > end)
            return KOR_FAIL("@korstr_CDataFileLock_take_Busy File '%1' is being changed by another program.", path);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return {};
}

}
