// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CThread.h"

#include "Platform/CLock.h"
#include "Platform/CThreadTraits.h"

#include <cassert>
#include <system_error>

namespace kor
{
namespace
{

struct CThreadNames
{
    CLock lock;
    CMap<std::thread::id, CStringBuf> names;
};

CThreadNames& threadNames()
{
    static CThreadNames& instance = *new CThreadNames;
    return instance;
}

}

CThread::~CThread()
{
    assert(!isRunning() && "the most derived class stops its thread");
    stopThread();
}

CError CThread::runThread(Priority priority)
{
    if (running.exchange(true))
        return KOR_FAIL("@korstr_CThread_runThread_Running Thread is already running.");
    stopping = false;
    CThreadNames& all = threadNames();
    const CLockHolder hold(all.lock);       // from here, so that the body finds its own name
    try
    {
        thread = std::thread([this, priority] { runBody(priority); });
    }
    catch (const std::system_error& error)
    {
        running = false;
        return KOR_FAIL("@korstr_CThread_runThread_Create Thread creation error %1.", error.code().value());
    }
    if (!name.isEmpty())
        all.names[thread.get_id()] = name;
    return {};
}

void CThread::runBody(Priority priority)
{
    if (!name.isEmpty())
        CThreadTraits::setName(name.toUtf8());
    if (priority == Priority::high)
        CThreadTraits::setHighPriority();
    run();
}

void CThread::stopThread()
{
    if (!running)
        return;
    assert(thread.get_id() != std::this_thread::get_id());
    stopping = true;
    event.signal();
    const std::thread::id id = thread.get_id();
    thread.join();
    event.reset();                          // a body that ended by itself has left it signalled
    {
        CThreadNames& all = threadNames();
        const CLockHolder hold(all.lock);
        all.names.erase(id);
    }
    running = false;
}

CStringBuf CThread::nameOf(std::thread::id id)
{
    CThreadNames& all = threadNames();
    const CLockHolder hold(all.lock);
    const auto found = all.names.find(id);
    return found == all.names.end() ? CStringBuf() : found->second;
}

}
