// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CBlockCache.h"

#include <utility>

namespace kor
{

CBlockCache::~CBlockCache()
{
    for (int i = 0; i < CBlockArena::classCount; ++i)
        for (const CBlockArena::CRun& run : {bins[static_cast<std::size_t>(i)].list, bins[static_cast<std::size_t>(i)].aside})
            if (run.count != 0)
                arena.give(i, run);
}

void* CBlockCache::takeSlowly(int classIndex) noexcept
{
    CBin& bin = bins[static_cast<std::size_t>(classIndex)];
    if (bin.aside.count != 0)
        bin.list = std::exchange(bin.aside, {});
    else
        bin.list = arena.take(classIndex, listLength(classIndex));
    return bin.list.count != 0 ? take(classIndex) : nullptr;
}

void CBlockCache::putAside(int classIndex) noexcept
{
    CBin& bin = bins[static_cast<std::size_t>(classIndex)];
    if (bin.aside.count != 0)
        arena.give(classIndex, bin.aside);
    bin.aside = std::exchange(bin.list, {});
}

int CBlockCache::count(int classIndex) const noexcept
{
    const CBin& bin = bins[static_cast<std::size_t>(classIndex)];
    return bin.list.count + bin.aside.count;
}

}
