// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObject.h"

namespace kor
{

// Says that parameters of a node are in fact other parameters (`audio:param-remap`): one pair by its attributes, or a
// script of assignments in a child `content`. Names are relative to the node, see expandParamName. Complete from
// initChilds on.
class CAudioParamRemapDef : public CObject
{
public:
    struct CPair
    {
        CStringBuf orig;
        CStringBuf replacement;
    };

    CError initChilds() override;

    const CArray<CPair>& pairs() const noexcept { return pairList; }

private:
    CError parseScript(const CStringBuf& script);

    CArray<CPair> pairList;
};

}
