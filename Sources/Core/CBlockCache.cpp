// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CBlockCache.h"

#include <utility>

namespace kor
{

CBlockCache::~CBlockCache()
{
    for (int i = 0; i < CBlockArena::classCount; ++i)
        for (const CBlockArena::CRun& run : {listOf(i), bins[static_cast<std::size_t>(i)].aside})
            if (run.count != 0)
                arena.give(i, run);
}

CBlockArena::CRun CBlockCache::listOf(int classIndex) const noexcept
{
    const CBin& bin = bins[static_cast<std::size_t>(classIndex)];
    return bin.first != nullptr ? CBlockArena::CRun{bin.first, bin.last, listLength(classIndex) - bin.room}
                                : CBlockArena::CRun{};
}

void* CBlockCache::takeSlowly(int classIndex) noexcept
{
    CBin& bin = bins[static_cast<std::size_t>(classIndex)];
    const int length = listLength(classIndex);
    const CBlockArena::CRun run = bin.aside.count != 0 ? std::exchange(bin.aside, {}) : arena.take(classIndex, length);
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
        if (bin.aside.count != 0)
            arena.give(classIndex, bin.aside);
        bin.aside = listOf(classIndex);
        bin.first = nullptr;
    }
    bin.room = listLength(classIndex);
}

int CBlockCache::count(int classIndex) const noexcept
{
    return listOf(classIndex).count + bins[static_cast<std::size_t>(classIndex)].aside.count;
}

}
