// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStream.h"
#include "Platform/CLock.h"
#include "Platform/CLoopSignal.h"

namespace kor
{

/// Why a message goes to a client.
enum class CSending
{
    update,                     // something has changed; may be left out for a client that has stopped reading
    reply                       // the client has asked for it, as for the whole state of a parameter
};

// What waits for one client. Any thread appends, and the client's own thread is woken to take all of it. It does not
// grow without bound: what a client that reads too slowly has not taken is thrown away at a limit, with all that comes
// until it does read, and the client is then told to ask for everything anew. Counted, so that senders may hold it
// longer than the client lives.
class CParamClientQueue
{
public:
    /// Bytes of updates that wait at most; a single larger one still goes when no other waits. A minute of a fast drag.
    static constexpr std::size_t maxUpdateBytes = 4u << 20;

    /// Bytes that wait at most in all, replies included; the whole state of an instance takes about a hundredth of it.
    static constexpr std::size_t maxBytes = 64u << 20;

    struct CTaken
    {
        CArray<CByteArray> blocks;                  // in the order of their sending
        bool isIncomplete = false;                  // messages were lost; then there are no blocks
    };

    /// `handler` is called with `context` on the loop's thread when something waits.
    CParamClientQueue(std::shared_ptr<CEventLoop> loop, CLoopSignal::Handler handler, void* context);

    /// Any thread but the audio thread. Takes a lock for the append, and wakes the client by one flag and one write.
    void append(CByteArray block, CSending kind);

    /// All that waits. The loop's thread.
    CTaken take();

    /// Drops what waits and all that comes; the handler is not called any more. The loop's thread.
    void close();

    std::size_t waitingBytes() const;

private:
    void drop() noexcept;

    mutable CLock lock;                             // a leaf; up to `signal`
    CTaken waiting;
    std::size_t bytes = 0;
    std::size_t updateBytes = 0;
    bool isClosed = false;
    CLoopSignal signal;
};

}
