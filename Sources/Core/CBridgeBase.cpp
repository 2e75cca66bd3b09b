// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CBridgeBase.h"

#include "Core/CBridge.h"
#include "Core/CBridgeTable.h"
#include "Core/CLog.h"

#include <cassert>

namespace kor
{

CBridgeBase::CBridgeBase()
{
    CBridgeTable::CBucket& bucket = CBridgeTable::bucketOf(this);
    const CLockHolder hold(bucket.lock);
    bucket.sources.insert(this);
}

CBridgeBase::~CBridgeBase()
{
    leaveBridges();
}

void CBridgeBase::leaveBridges()
{
    CBridgeTable::CBucket& bucket = CBridgeTable::bucketOf(this);
    const CLockHolder hold(bucket.lock);
    bucket.sources.erase(this);
    const CLockHolder holdSource(lock);
    for (const auto& [key, list] : bridges)
        for (CBridge* bridge : list)
            bridge->source = nullptr;
    bridges.clear();
}

int CBridgeBase::getBridgeKey(const CStringBuf&)
{
    return 0;
}

void CBridgeBase::notifyBridges(const CStringBuf& argument, const CBridge* exclude)
{
    const int key = argument.isEmpty() ? 0 : getBridgeKey(argument);
    const CLockHolder hold(lock);
    const auto found = bridges.find(key);
    if (found == bridges.end())
        return;
    assert(!isNotifying && "a bridge's callback notifies the bridge's source");
    isNotifying = true;
    for (CBridge* bridge : found->second)
        if (bridge != exclude)
            if (CError failure = bridge->onBridgeChange(argument))
                CLog::writeError(std::move(failure));
    isNotifying = false;
}

}
