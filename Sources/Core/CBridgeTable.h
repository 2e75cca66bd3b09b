// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAllocator.h"
#include "Platform/CLock.h"

namespace kor
{

class CBridgeBase;

// The live sources of the process, spread over buckets by their address, so that sources that have nothing to do with
// each other hardly ever meet at a lock.
class CBridgeTable
{
public:
    struct CBucket
    {
        CLock lock{CLockRank::bridgeTable};
        CSet<const CBridgeBase*> sources;
    };

    /// Where a source at that address is entered, alive or not.
    static CBucket& bucketOf(const CBridgeBase* source);
};

}
