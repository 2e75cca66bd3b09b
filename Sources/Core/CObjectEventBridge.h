// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAttrValue.h"
#include "Core/CError.h"

namespace kor
{

// Carries events to the thread that serves a part of a tree. It is counted: senders may hold it longer than its owner
// lives, and what is posted then is dropped.
class CObjectEventBridge
{
public:
    virtual ~CObjectEventBridge() = default;

    /// Queues a deep copy of `params` for the owner's thread, in the order of the calls, and returns without waiting
    /// for the delivery. Any thread.
    virtual CError post(const CAttrMap& params) = 0;
};

}
