// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <memory>

namespace kor
{

class CEventLoop;

// Calls a handler on the thread of an event loop soon after any thread has raised the signal. Raising it again before
// the call changes nothing, so what there is to do stands in a queue beside it. It is made on the loop's thread and
// ends there, or while that thread does not run the loop.
class CLoopSignal
{
public:
    using Handler = void (*)(void* context);

    CLoopSignal(std::shared_ptr<CEventLoop> loop, Handler handler, void* context);
    ~CLoopSignal();
    CLoopSignal(const CLoopSignal&) = delete;
    CLoopSignal& operator=(const CLoopSignal&) = delete;

    /// Returns 0 or the system's error number; then the handler is not called, and the next raise tries again. Any
    /// thread, the audio thread included: one flag, and one write to a descriptor if the flag was down.
    int raise() noexcept;

    /// The handler is not called any more, even if the signal has been raised. The loop's thread.
    void close();

private:
    friend class CEventLoop;

    const std::shared_ptr<CEventLoop> loop;
    const Handler handler;
    void* const context;
    std::atomic<bool> isRaised{false};
};

}
