// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CThread.h"
#include "Platform/CLock.h"

#include <memory>

namespace kor
{

// A thread that does one job at a time for its owner and sleeps in between. The most derived class stops the thread
// first thing in its destructor.
class CWorkerThread : public CThread
{
public:
    using CThread::CThread;

    /// Wakes the thread for one job; before runThread, the job waits for that. Nothing while one is being done.
    void startJob();

    /// From startJob to the end of the job. Any thread.
    bool isBusy();

    /// Waits for the job's end and returns its failure, once. Not after stopThread has cut a job off.
    CError finishJob();

protected:
    int run() override;

    /// One job, on the worker's thread.
    virtual CError work() = 0;

private:
    CLock lock;                             // the two below
    bool busy = false;
    CError jobFailure;
    CAutoResetEvent jobEnd;
};

/// The helpers of one owner. Each worker's own destructor stops it.
using CWorkerThreadPool = CArray<std::unique_ptr<CWorkerThread>>;

}
