// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObject.h"

namespace kor
{

// A wire inside a container (`audio:process-link`), from an output of one node to an input of another.
class CAudioProcessLinkDef : public CObject
{
public:
    /// One end: a node's name, or "*" for the container's own input (as source) or output (as target).
    struct CEnd
    {
        CStringBuf node;
        int port = 0; // 0 to maxPort

        bool isContainer() const { return node.equals("*"); }
    };

    static constexpr int maxPort = 255;
    static constexpr int alwaysActive = -1;

    CError init() override;

    const CEnd& source() const noexcept { return src; }
    const CEnd& target() const noexcept { return dst; }

    /// Set of links that this one belongs to; the set alwaysActive needs no state to select it.
    int stateId() const noexcept { return state; }

    /// The link is absent while any of these bypass states is true.
    const CArray<int>& bypassStateIds() const noexcept { return bypassIds; }

private:
    CError readEnd(CEnd& end, const char* attribute) const;

    CEnd src;
    CEnd dst;
    int state = alwaysActive;
    CArray<int> bypassIds;
};

}
