// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStringBuf.h"

namespace kor
{

class CAudioParamInfo;

// Which parameter a key of a preset means: the preset's id names a place in the tree, the key a parameter below it.
// Answers from the shared tree, which the application must have loaded; the answers live as long as that tree.
class CPresetDefinitions
{
public:
    /// Name of the parameter's definition, whether there is one or not: what its block is called. The key itself for an
    /// id that nobody knows.
    static CStringBuf definitionName(const CStringBuf& id, const CStringBuf& key);

    /// Null when there is no such parameter. A key may be anything that a file holds.
    static const CAudioParamInfo* find(const CStringBuf& id, const CStringBuf& key);
};

}
