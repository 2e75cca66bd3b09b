// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObjectEventBridge.h"

#include <memory>

namespace kor
{

// All that a thread other than the tree's own needs in order to run an event handler of one object there: the bridge and
// the names, by value. Made by CObject::bridgedHandler on the tree's thread; it may outlive the object, whose posts are
// then dropped.
class CBridgedHandler
{
public:
    /// A handler that is never run.
    CBridgedHandler() = default;

    CBridgedHandler(std::shared_ptr<CObjectEventBridge> eventBridge, CAttrMap eventParams);

    /// Queues one run of the handler. Any thread but the audio thread.
    CError post() const;

private:
    std::shared_ptr<CObjectEventBridge> bridge;
    CAttrMap params;
};

}
