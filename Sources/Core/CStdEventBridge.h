// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObject.h"

namespace kor
{

class CUIEventBridge;

// The part of a tree below it is served by the thread that created it: events from other threads, and those that are
// posted on purpose, arrive there out of that thread's event loop (CEventLoop::ofThisThread).
class CStdEventBridge : public CObject
{
public:
    CStdEventBridge();
    ~CStdEventBridge() override;

    CError init() override;
    void uninit() override;

    /// Delivers one posted event to its listener; one whose listener is gone or was replaced is dropped.
    virtual CError deliverBridged(CAttrMap& params);

private:
    std::shared_ptr<CUIEventBridge> queue;
};

}
