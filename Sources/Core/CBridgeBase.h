// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStringBuf.h"
#include "Platform/CLock.h"

namespace kor
{

class CBridge;

// What bridges can observe. Source and observers may live and die on different threads: every source stands in a
// process-wide table of what is alive, and a bridge touches its source only under a lock of that table which the dying
// source needs too. Locks in order: the bridge's own, the table's, the source's.
class CBridgeBase
{
public:
    CBridgeBase();

    /// Takes the source out of the table and detaches its observers. A class that overrides getBridgeKey calls
    /// leaveBridges first thing in its own destructor.
    virtual ~CBridgeBase();
    CBridgeBase(const CBridgeBase&) = delete;
    CBridgeBase& operator=(const CBridgeBase&) = delete;

    /// The number under which an observer of `argument` is kept. Called under the table's lock; may take leaf locks.
    virtual int getBridgeKey(const CStringBuf& argument);

    /// Calls every bridge attached under the argument's key (0 for an empty argument) but `exclude`, in the order in
    /// which they were attached, on this thread and under this source's lock. Failures go to the log. Any thread but
    /// the audio thread.
    void notifyBridges(const CStringBuf& argument, const CBridge* exclude = nullptr);

protected:
    /// Ends all observation for good; once it returns no bridge knows this source, and none attaches to it any more.
    void leaveBridges();

private:
    friend class CBridge;

    CLock lock{CLockRank::bridgeSource};
    CMap<int, CArray<CBridge*>> bridges;
    bool isNotifying = false;
};

}
