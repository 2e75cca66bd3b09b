// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"

namespace kor
{

class CAudioInterfaceClient;
class CObject;

// A client of an instance for whoever has no window: a tree of its own with nothing but the shared tree's template
// "client" in it. It belongs to the thread that makes it, whose event loop must run for messages to arrive.
class CInterfaceClientTree
{
public:
    CInterfaceClientTree() = default;
    ~CInterfaceClientTree();
    CInterfaceClientTree(const CInterfaceClientTree&) = delete;
    CInterfaceClientTree& operator=(const CInterfaceClientTree&) = delete;

    /// audioRoot: the root of the instance's tree, which lives for the time of the call. Once; on failure there is no
    /// client.
    CError create(const CObject& audioRoot);

    /// Valid after create.
    CAudioInterfaceClient& client() const noexcept { return *found; }
    CObject& root() const noexcept { return *ownRoot; }

    /// Bytes that wait to be processed.
    std::size_t waitingBytes() const;

private:
    CObject* ownRoot = nullptr;
    CAudioInterfaceClient* found = nullptr;
};

}
