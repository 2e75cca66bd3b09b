// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CBridge.h"

#include "Core/CBridgeTable.h"

#include <cassert>

namespace kor
{

CBridge::~CBridge()
{
    assert(!isAttached() && "the most derived class detaches");
    detach();
}

bool CBridge::attach(CBridgeBase* newSource, const CStringBuf& argument)
{
    const CLockHolder holdOwn(attachLock);
    detach();
    CBridgeTable::CBucket& bucket = CBridgeTable::bucketOf(newSource);
    const CLockHolder hold(bucket.lock);
    if (bucket.sources.count(newSource) == 0)
        return false;
    key = argument.isEmpty() ? 0 : newSource->getBridgeKey(argument);
    const CLockHolder holdSource(newSource->lock);
    assert(!newSource->isNotifying);
    newSource->bridges[key].push_back(this);
    source = newSource;
    return true;
}

void CBridge::detach()
{
    const CLockHolder holdOwn(attachLock);
    CBridgeBase* const former = source;
    if (former == nullptr)
        return;
    CBridgeTable::CBucket& bucket = CBridgeTable::bucketOf(former);
    const CLockHolder hold(bucket.lock);
    // A source that died meanwhile has taken this pointer away under the same lock.
    if (source != former)
        return;
    const CLockHolder holdSource(former->lock);
    assert(!former->isNotifying && "a bridge's callback detaches a bridge of its source");
    const auto entry = former->bridges.find(key);
    std::erase(entry->second, this);
    if (entry->second.empty())
        former->bridges.erase(entry);
    source = nullptr;
}

}
