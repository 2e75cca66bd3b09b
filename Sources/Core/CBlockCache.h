// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CBlockArena.h"

namespace kor
{

// One thread's own store of free blocks in front of an arena. Each class has two short lists: blocks are taken from
// and put on the first; a full one moves aside, and only when both are full (or both are empty) does a whole list go
// to (or come from) the arena, with one swap of the shared head. Two lists, so that a thread whose use swings around
// a list's end does not trade with the arena at every step.
class CBlockCache
{
public:
    explicit CBlockCache(CBlockArena& owner) noexcept : arena(owner) {}
    CBlockCache(const CBlockCache&) = delete;
    CBlockCache& operator=(const CBlockCache&) = delete;

    /// Gives everything back to the arena.
    ~CBlockCache();

    /// A block of a class, by its user pointer; null only when the C heap has failed. The cache's own thread.
    void* take(int classIndex) noexcept
    {
        CBin& bin = bins[static_cast<std::size_t>(classIndex)];
        CBlockArena::CHeader* block = bin.list.first;
        if (block == nullptr) [[unlikely]]
            return takeSlowly(classIndex);
        bin.list.first = block->next.load(std::memory_order_relaxed);
        --bin.list.count;
        return block->user();
    }

    /// Puts back a block of a class, whichever thread took it. The cache's own thread.
    void give(void* user, int classIndex) noexcept
    {
        CBin& bin = bins[static_cast<std::size_t>(classIndex)];
        CBlockArena::CHeader* block = CBlockArena::CHeader::of(user);
        CBlockArena::CHeader* below = bin.list.first;
        // Release, for a thread that lost a race in the arena and still walks this block: see CBlockArena::tryTake.
        block->next.store(below, std::memory_order_release);
        if (below == nullptr)
            bin.list.last = block;
        bin.list.first = block;
        if (++bin.list.count >= listLength(classIndex)) [[unlikely]]
            putAside(classIndex);
    }

    /// Blocks in one list of a class: at most 64, and at most 32 KB together, but never below 4.
    static constexpr int listLength(int classIndex) noexcept
    {
        const int fitting = static_cast<int>(32768 / CBlockArena::stride(classIndex));
        return fitting > 64 ? 64 : fitting < 4 ? 4 : fitting;
    }

    /// Blocks of a class that lie here. The cache's own thread.
    int count(int classIndex) const noexcept;

private:
    struct CBin
    {
        CBlockArena::CRun list;
        CBlockArena::CRun aside;
    };

    void* takeSlowly(int classIndex) noexcept;
    void putAside(int classIndex) noexcept;

    CBlockArena& arena;
    std::array<CBin, CBlockArena::classCount> bins{};
};

}
