// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/CLockPairs.h"

#include <span>
#include <string>

namespace kor
{

// The places of the system's locks, outermost first: with a lock held, a thread takes only locks that stand further
// down. A lock that is held may be taken again. Of two threads that follow the one order, neither can hold what the
// other waits for while it waits itself.
enum class CLockRank : unsigned char
{
    application,                                    // start and end of the process-wide part
    instance,                                       // who runs a graph, who stores what that left behind
    command,                                        // the base connector's commands
    message,
    preset,                                         // a registry's
    undo,
    registryParams,                                 // a registry's list of parameters
    parameter,                                      // of several, from one that changes to those that follow it,
                                                    // and of no two in both orders
    parameterFilter,                                // between its source's and its targets'
    environment,                                    // nothing else is taken under it
    bridge,                                         // the source of one
    bridgeTable,                                    // what sources there are
    bridgeSource,                                   // the bridges of one, held while they are told
    store,                                          // a data store's contents
    serverRegistry,                                 // the notify servers of all trees
    leaf                                            // held for an append only: nothing else is taken under it
};

/// Name of a rank for people.
const char* nameOf(CLockRank rank) noexcept;

// The locks that one thread holds, in the order of their taking. Builds with assertions keep one for every thread, so
// that a wrong order is found the first time the code runs and not when two threads happen to meet in it. Where ranks
// leave the order open, the first thread that takes two locks one under the other settles it for all. Allocates
// nothing unless the order is broken, so that it may run on the audio thread. Locks are named as in CLockPairs.
class CLockOrder
{
public:
    /// `settledPairs` is shared by all threads and outlives them.
    constexpr explicit CLockOrder(CLockPairs& settledPairs) noexcept : pairs(settledPairs) {}

    /// Why taking `lock` now breaks the order; empty when it does not.
    std::string refusal(std::uint32_t lock, CLockRank rank) const;

    void enter(std::uint32_t lock, CLockRank rank) noexcept;
    void leave(std::uint32_t lock) noexcept;

private:
    struct CHeld
    {
        std::uint32_t lock = 0;
        CLockRank rank = CLockRank::leaf;
    };

    static bool mayFollow(CLockRank outer, CLockRank inner) noexcept;
    std::span<const CHeld> known() const noexcept;
    bool isHeld(std::uint32_t lock) const noexcept;

    CLockPairs& pairs;
    std::array<CHeld, 64> held;                    // deeper nesting than that is not looked at
    std::size_t count = 0;
};

}
