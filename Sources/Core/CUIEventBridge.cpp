// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CUIEventBridge.h"

#include "Core/CLog.h"
#include "Core/CRoundingGuard.h"
#include "Core/CStdEventBridge.h"

namespace kor
{

CUIEventBridge::CUIEventBridge(CStdEventBridge& bridgeOwner, std::shared_ptr<CEventLoop> loop)
    : owner(&bridgeOwner), signal(std::move(loop), &CUIEventBridge::onRaised, this)
{
}

CError CUIEventBridge::post(const CAttrMap& params)
{
    CAttrMap copy = params;                 // outside the lock, which other senders want
    {
        const CLockHolder hold(lock);
        if (isClosed)
            return {};
        pending.push_back(std::move(copy));
    }
    if (const int failure = signal.raise())
        return KOR_FAIL("@korstr_CUIEventBridge_post_Error Post message error %1.", failure);
    return {};
}

void CUIEventBridge::close()
{
    signal.close();
    owner = nullptr;
    const CLockHolder hold(lock);
    isClosed = true;
    pending.clear();
}

void CUIEventBridge::onRaised(void* context)
{
    const CRoundingGuard rounding;
    // An event may end the tree, and the bridge with it.
    const std::shared_ptr<CUIEventBridge> self = static_cast<CUIEventBridge*>(context)->shared_from_this();
    self->deliverPending();
}

void CUIEventBridge::deliverPending()
{
    std::size_t count = 0;
    {
        const CLockHolder hold(lock);
        count = pending.size();
    }
    // What handlers post here waits for the next round, so that timers and other bridges have their turn.
    CAttrMap params;
    for (; count > 0 && takeNext(params); --count)
        if (CError failure = owner->deliverBridged(params))
            CLog::writeError(std::move(failure));
}

bool CUIEventBridge::takeNext(CAttrMap& params)
{
    const CLockHolder hold(lock);
    if (pending.empty())
        return false;
    params = std::move(pending.front());
    pending.pop_front();
    // The handler may run the loop itself, which must find what waits behind it.
    if (!pending.empty())
        signal.raise();
    return true;
}

}
