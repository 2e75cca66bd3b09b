// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStringBuf.h"
#include "Other/Interface/CAudioVizQueue.h"

#include <array>
#include <atomic>
#include <cstdint>

namespace kor
{

class CAudioParam;
class CAudioVizCollector;

// One name that data is posted under: that of the process that posts, or that name with "-sec" behind it. Lives as long
// as its collector; the counts are the audio thread's.
class CAudioVizSlot
{
public:
    static constexpr int maxGroups = 8;

    CAudioVizSlot(CAudioVizCollector& owner, const CStringBuf& slotName) : collector(owner), name(slotName) {}

    CAudioVizCollector& collector;
    const CStringBuf name;

    /// All listeners, never below 0.
    int listenerCount = 0;

    /// Those that came through export slots: all, and by group.
    int groupListenerCount = 0;
    std::array<int, maxGroups> perGroupCount{};

private:
    friend class CAudioVizCollector;

    CAudioParam* enableParam = nullptr;             // the name with "-enable" behind it; null in a tree without
    CAudioVizQueue pending;                         // under the collector's pending lock
    int localDelta = 0;                             // under the collector's delta lock, as the link
    CAudioVizSlot* nextChanged = nullptr;
    bool isChanged = false;

    // What the audio thread has last switched the enable parameter to and no other thread has stored yet: the delivery's
    // mark, the state, and a bit that makes it other than 0. While it is, the slot is in the list of such slots or
    // somebody is about to take it; the link is the audio thread's before and the taker's until then.
    std::atomic<std::uint64_t> switched{0};
    CAudioVizSlot* nextSwitched = nullptr;
};

}
