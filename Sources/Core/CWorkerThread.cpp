// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CWorkerThread.h"

namespace kor
{

void CWorkerThread::startJob()
{
    const CLockHolder hold(lock);
    if (busy)
        return;
    busy = true;
    jobFailure = {};
    jobEnd.reset();
    event.signal();
}

bool CWorkerThread::isBusy()
{
    const CLockHolder hold(lock);
    return busy;
}

CError CWorkerThread::finishJob()
{
    while (isBusy())
        jobEnd.wait();
    const CLockHolder hold(lock);
    KOR_TRY(std::move(jobFailure));
    return {};
}

int CWorkerThread::run()
{
    for (;;)
    {
        event.wait();
        CError failure;
        const bool isEnd = isStopping();
        if (!isEnd)
        {
            if (!isBusy())
                continue;
            failure = work();
        }
        const CLockHolder hold(lock);
        jobFailure = std::move(failure);
        busy = false;                       // a job that was not begun is dropped
        jobEnd.signal();
        if (isEnd)
            return 0;
    }
}

}
