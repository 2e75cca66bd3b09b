// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObjectEventBridge.h"
#include "Platform/CEventLoop.h"
#include "Platform/CLoopSignal.h"

#include <deque>

namespace kor
{

class CStdEventBridge;

// The queue between all threads and the one that serves a tree. Posts are kept in the order in which they came until the
// owner's thread delivers them out of its event loop. It belongs to the thread that made it up to close; after that it
// only drops what is posted.
class CUIEventBridge : public CObjectEventBridge, public std::enable_shared_from_this<CUIEventBridge>
{
public:
    /// Takes the calling thread's event loop. Check error() of `loop` before.
    CUIEventBridge(CStdEventBridge& owner, std::shared_ptr<CEventLoop> loop);

    /// "Post message error %1." when the owner's thread could not be woken; the post stays queued.
    CError post(const CAttrMap& params) override;

    /// Drops what is queued and all that comes; the owner is not called any more. The owner's thread.
    void close();

private:
    static void onRaised(void* context);
    void deliverPending();
    bool takeNext(CAttrMap& params);

    CLock lock;                             // up to `owner`, which only the owner's thread reads
    std::deque<CAttrMap, CBlockAllocator<CAttrMap>> pending;
    bool isClosed = false;
    CStdEventBridge* owner;
    CLoopSignal signal;
};

}
