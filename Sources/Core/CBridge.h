// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CBridgeBase.h"
#include "Core/CError.h"

#include <atomic>

namespace kor
{

// An observer that is safe against the death of what it observes, and that can be observed itself. Once detach has
// returned it is not called any more; therefore the most derived class calls detach first thing in its destructor.
class CBridge : public CBridgeBase
{
public:
    ~CBridge() override;

    /// Detaches, then observes `argument` of `newSource`. False if that source is no more; it need not be alive.
    /// Any thread but the audio thread; not from a callback of the same source.
    bool attach(CBridgeBase* newSource, const CStringBuf& argument);

    /// Waits for a callback that is running on another thread. Does nothing without a source. As attach.
    void detach();

    bool isAttached() const noexcept { return source.load() != nullptr; }

    /// The source tells of a change of `argument`, on the thread that made it and under the source's lock. It only
    /// queues something by value: neither attach, detach nor notifyBridges of that source.
    virtual CError onBridgeChange(const CStringBuf& argument) = 0;

private:
    friend class CBridgeBase;

    CLock attachLock{CLockRank::bridge};        // two attaches of one bridge
    std::atomic<CBridgeBase*> source{nullptr};  // written only under the lock of its bucket in the table
    int key = 0;
};

}
