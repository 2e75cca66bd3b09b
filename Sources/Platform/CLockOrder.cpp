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
    case CLockRank::instance:
        return "instance";
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

namespace
{

/// Of these several are held in a row, see CLockOrder::refusal.
bool isOfChain(CLockRank rank) noexcept
{
    return rank == CLockRank::parameter || rank == CLockRank::parameterFilter;
}

}

bool CLockOrder::mayFollow(CLockRank outer, CLockRank inner) noexcept
{
    return outer < inner && outer != CLockRank::environment;
}

std::span<const CLockOrder::CHeld> CLockOrder::known() const noexcept
{
    return std::span(held).first(std::min(count, held.size()));
}

bool CLockOrder::isHeld(std::uint32_t lock) const noexcept
{
    return std::ranges::any_of(known(), [lock](const CHeld& entry) { return entry.lock == lock; });
}

std::string CLockOrder::refusal(std::uint32_t lock, CLockRank rank) const
{
    if (isHeld(lock))
        return {};
    // Whoever takes part in a parameter's changes may change others under its lock, by a filter's lock or straight on,
    // and these have followers of their own. That such chains form no ring shows in the pairs.
    const bool isTarget = rank == CLockRank::parameter && count > 0 && count <= held.size() &&
                          isOfChain(held[count - 1].rank);
    const bool isInChain = isTarget || rank == CLockRank::parameterFilter;
    for (const CHeld& entry : known())
    {
        const auto broken = [&](const char* what)
        {
            return std::string("Lock order broken: the lock '") + nameOf(rank) + "' was taken with the lock '" +
                   nameOf(entry.rank) + "' held" + what;
        };
        const bool isBesideFilter = &entry == &known().back() && entry.rank == rank && rank == CLockRank::parameterFilter;
        const bool isNextLink = isInChain && isOfChain(entry.rank) && !isBesideFilter;
        if (!isNextLink && !mayFollow(entry.rank, rank))
            return broken(".");
        if (isInChain && pairs.hasReverse(entry.lock, lock))
            return broken(", and earlier the other way round.");
    }
    return {};
}

void CLockOrder::enter(std::uint32_t lock, CLockRank rank) noexcept
{
    if (isOfChain(rank) && !isHeld(lock))
        for (const CHeld& entry : known())
            if (isOfChain(entry.rank))
                pairs.note(entry.lock, lock);
    if (count < held.size())
        held[count] = {lock, rank};
    ++count;
}

void CLockOrder::leave(std::uint32_t lock) noexcept
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
