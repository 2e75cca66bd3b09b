// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CBridge.h"

namespace kor
{

// A bridge that calls a method of its owner, of which it is a member. The owner detaches it first thing in its uninit.
template <class T>
class COwnedBridge : public CBridge
{
public:
    /// See CBridge::onBridgeChange for what it may do.
    using Method = CError (T::*)(const CStringBuf& argument);

    COwnedBridge(T& bridgeOwner, Method ownersMethod) : owner(bridgeOwner), method(ownersMethod) {}
    ~COwnedBridge() override { detach(); }

    CError onBridgeChange(const CStringBuf& argument) override
    {
        KOR_TRY((owner.*method)(argument));
        return {};
    }

private:
    T& owner;
    const Method method;
};

}
