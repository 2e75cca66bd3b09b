// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringBuf.h"
#include "Platform/CAutoResetEvent.h"

#include <atomic>
#include <thread>

namespace kor
{

// A thread with a stop protocol: the body sleeps on the event and ends when it finds isStopping after it woke. The most
// derived class stops the thread first thing in its destructor, since the body uses its members. All but the questions
// belongs to one owner at a time.
class CThread
{
public:
    enum class Priority
    {
        normal,
        high                                // above all normal threads, where the system allows it
    };

    explicit CThread(const CStringBuf& threadName = gEmptyString) : name(threadName) {}
    virtual ~CThread();
    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;

    /// Fails with "Thread is already running." and leaves that running, or with "Thread creation error %1."
    CError runThread(Priority priority);

    /// Tells the body to stop, wakes it and waits for its end, without limit. Does nothing unless running. Not from the
    /// body itself.
    void stopThread();

    /// From runThread to stopThread, even if the body has returned by itself. Any thread.
    bool isRunning() const noexcept { return running.load(); }

    /// Any thread.
    bool isStopping() const noexcept { return stopping.load(); }

    /// Of a running thread that has a name; empty otherwise. Any thread.
    static CStringBuf nameOf(std::thread::id id);

protected:
    /// The body, on the thread of its own. The result says what its class wants it to.
    virtual int run() = 0;

    CAutoResetEvent event;

private:
    void runBody(Priority priority);

    const CStringBuf name;
    std::thread thread;
    std::atomic<bool> running{false};
    std::atomic<bool> stopping{false};
};

}
