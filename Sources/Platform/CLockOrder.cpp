// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/CLockOrder.h"

#include <algorithm>

namespace kor
{

const char* nameOf(CLockRank rank) noexcept
{
    switch (rank)
    {
    case CLockRank::application:
        return "application";
    case CLockRank::command:
        return "command";
    case CLockRank::message:
        return "message";
    case CLockRank::preset:
        return "preset";
    case CLockRank::undo:
        return "undo";
    case CLockRank::registryParams:
        return "registry's parameters";
    case CLockRank::parameter:
        return "parameter";
    case CLockRank::parameterFilter:
        return "parameter filter";
    case CLockRank::environment:
        return "environment";
    case CLockRank::bridge:
        return "bridge";
    case CLockRank::bridgeTable:
        return "table of bridges";
    case CLockRank::bridgeSource:
        return "bridge's source";
    case CLockRank::store:
        return "store";
    case CLockRank::serverRegistry:
        return "server registry";
    case CLockRank::leaf:
        return "leaf";
    }
    return "?";
}

bool CLockOrder::mayFollow(CLockRank outer, CLockRank inner) noexcept
{
    return outer < inner && outer != CLockRank::environment;
}

std::string CLockOrder::refusal(const void* lock, CLockRank rank) const
{
    const auto end = held.begin() + static_cast<std::ptrdiff_t>(std::min(count, held.size()));
    if (std::any_of(held.begin(), end, [lock](const CHeld& entry) { return entry.lock == lock; }))
        return {};
    // Whoever takes part in a parameter's changes may change others under its lock, by a filter's lock or straight on,
    // and these have followers of their own. That such chains lead nowhere twice is for those who make them.
    const bool isTarget = rank == CLockRank::parameter && count > 0 && count <= held.size() &&
                          (held[count - 1].rank == CLockRank::parameterFilter ||
                           held[count - 1].rank == CLockRank::parameter);
    const bool isInChain = isTarget || rank == CLockRank::parameterFilter;
    for (auto entry = held.begin(); entry != end; ++entry)
    {
        const bool isChain = entry->rank == CLockRank::parameter || entry->rank == CLockRank::parameterFilter;
        const bool isBesideFilter = entry + 1 == end && entry->rank == rank && rank == CLockRank::parameterFilter;
        const bool isNextLink = isInChain && isChain && !isBesideFilter;
        if (!isNextLink && !mayFollow(entry->rank, rank))
            return std::string("Lock order broken: the lock '") + nameOf(rank) + "' was taken with the lock '" +
                   nameOf(entry->rank) + "' held.";
    }
    return {};
}

void CLockOrder::enter(const void* lock, CLockRank rank) noexcept
{
    if (count < held.size())
        held[count] = {lock, rank};
    ++count;
}

void CLockOrder::leave(const void* lock) noexcept
{
    if (count == 0)
        return;
    --count;
    if (count >= held.size())
        return;
    // Locks need not be left in the reverse order of their taking: close the gap.
    for (std::size_t i = count + 1; i-- > 0;)
        if (held[i].lock == lock)
        {
            std::copy(held.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                      held.begin() + static_cast<std::ptrdiff_t>(count) + 1,
                      held.begin() + static_cast<std::ptrdiff_t>(i));
            return;
        }
}

}
