// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CStdEventBridge.h"

#include "Core/CUIEventBridge.h"

namespace kor
{

CStdEventBridge::CStdEventBridge() = default;

CStdEventBridge::~CStdEventBridge()
{
    if (queue != nullptr)
        queue->close();
}

CError CStdEventBridge::init()
{
    KOR_TRY(CObject::init());
    std::shared_ptr<CEventLoop> loop = CEventLoop::ofThisThread();
    if (loop->error() != 0)
        return KOR_FAIL("@korstr_CStdEventBridge_init_Loop Event loop creation error %1.", loop->error());
    queue = std::make_shared<CUIEventBridge>(*this, std::move(loop));
    bridge = queue;
    bridgeThreadId = std::this_thread::get_id();
    noBridge = false;
    return {};
}

void CStdEventBridge::uninit()
{
    // Listeners keep the bridge, and what they still post during the end of the tree is dropped.
    if (queue != nullptr)
        queue->close();
    CObject::uninit();
}

CError CStdEventBridge::deliverBridged(CAttrMap& params)
{
    KOR_TRY(deliverPosted(params));
    return {};
}

}
