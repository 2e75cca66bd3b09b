// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CBlockArena.h"

namespace kor
{

// One thread's own store of free blocks in front of an arena. Blocks of a class are taken from and put on one short
// list; when it is full and one more comes, it moves to the thread's depot, and an empty one is replaced from there.
// Only when the depot is full (or empty) does a whole list go to (or come from) the arena, with one swap of the shared
// head. The depot keeps busy threads from trading their blocks through the arena: a block that changes threads costs a
// cache miss for its header and more for its bytes, many times the price of the allocation.
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
        CBlockArena::CHeader* block = bin.first;
        if (block == nullptr) [[unlikely]]
            return takeSlowly(classIndex);
        bin.first = block->next.load(std::memory_order_relaxed);
        ++bin.room;
        return block->user();
    }

    /// Puts back a block of a class, whichever thread took it. The cache's own thread.
    void give(void* user, int classIndex) noexcept
    {
        CBin& bin = bins[static_cast<std::size_t>(classIndex)];
        if (bin.room == 0) [[unlikely]]
            makeRoom(classIndex);
        CBlockArena::CHeader* block = CBlockArena::CHeader::of(user);
        CBlockArena::CHeader* below = bin.first;
        // Release, for a thread that lost a race in the arena and still walks this block: see CBlockArena::tryTake.
        block->next.store(below, std::memory_order_release);
        if (below == nullptr)
            bin.last = block;
        bin.first = block;
        --bin.room;
    }

    /// Blocks in one list of a class: at most 64, and at most 32 KB together, but never below 4.
    static constexpr int listLength(int classIndex) noexcept
    {
        const int fitting = static_cast<int>(32768 / CBlockArena::stride(classIndex));
        return fitting > 64 ? 64 : fitting < 4 ? 4 : fitting;
    }

    /// Most lists in the depot of a class: 1 MB of blocks at most.
    static constexpr int depotLength = 32;

    /// Blocks of a class that lie here. The cache's own thread.
    int count(int classIndex) const noexcept;

private:
    // A full list in the depot: lies in the user's bytes of its first block, which nobody uses meanwhile.
    struct CStoredList
    {
        CStoredList* below;
        CBlockArena::CHeader* last;
    };
    static_assert(sizeof(CStoredList) <= CBlockArena::userBytes(0));

    // All zero at first: no room, so that the first block that comes finds its way to makeRoom.
    struct CBin
    {
        CBlockArena::CHeader* first;
        CBlockArena::CHeader* last;                 // of the list above, while that has blocks
        CStoredList* depot;
        int room;                                   // blocks that the list still takes
        int stored;                                 // lists in the depot
    };

    CBlockArena::CRun listOf(int classIndex) const noexcept;
    CBlockArena::CRun fetchStored(int classIndex) noexcept;
    void* takeSlowly(int classIndex) noexcept;
    void makeRoom(int classIndex) noexcept;

    CBlockArena& arena;
    std::array<CBin, CBlockArena::classCount> bins{};
};

}
