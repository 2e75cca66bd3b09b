// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CBlockCache.h"

#include <new>

namespace kor
{

CBlockCache::~CBlockCache()
{
    for (int i = 0; i < CBlockArena::classCount; ++i)
    {
        if (const CBlockArena::CRun run = listOf(i); run.count != 0)
            arena.give(i, run);
        while (bins[static_cast<std::size_t>(i)].stored > 0)
            arena.give(i, fetchStored(i));
    }
}

CBlockArena::CRun CBlockCache::listOf(int classIndex) const noexcept
{
    const CBin& bin = bins[static_cast<std::size_t>(classIndex)];
    return bin.first != nullptr ? CBlockArena::CRun{bin.first, bin.last, listLength(classIndex) - bin.room}
                                : CBlockArena::CRun{};
}

CBlockArena::CRun CBlockCache::fetchStored(int classIndex) noexcept
{
    CBin& bin = bins[static_cast<std::size_t>(classIndex)];
    const CStoredList list = *bin.depot;
    CBlockArena::CHeader* first = CBlockArena::CHeader::of(bin.depot);
    bin.depot = list.below;
    --bin.stored;
    return {first, list.last, listLength(classIndex)};
}

void* CBlockCache::takeSlowly(int classIndex) noexcept
{
    CBin& bin = bins[static_cast<std::size_t>(classIndex)];
    const int length = listLength(classIndex);
    const CBlockArena::CRun run = bin.stored > 0 ? fetchStored(classIndex) : arena.take(classIndex, length);
    if (run.count == 0)
        return nullptr;
    bin.first = run.first;
    bin.last = run.last;
    bin.room = length - run.count;
    return take(classIndex);
}

void CBlockCache::makeRoom(int classIndex) noexcept
{
    CBin& bin = bins[static_cast<std::size_t>(classIndex)];
    if (bin.first != nullptr)
    {
        const CBlockArena::CRun full = listOf(classIndex);
        if (bin.stored < depotLength)
        {
            bin.depot = new (full.first->user()) CStoredList{bin.depot, full.last};
            ++bin.stored;
        }
        else
            arena.give(classIndex, full);
        bin.first = nullptr;
    }
    bin.room = listLength(classIndex);
}

int CBlockCache::count(int classIndex) const noexcept
{
    return listOf(classIndex).count + bins[static_cast<std::size_t>(classIndex)].stored * listLength(classIndex);
}

}
