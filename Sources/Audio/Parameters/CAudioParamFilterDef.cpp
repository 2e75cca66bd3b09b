// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamFilterDef.h"

namespace kor
{

namespace
{

void readNames(CArray<CStringBuf>& names, const CStringBuf& text)
{
    CArray<CStringBuf> pieces;
    text.split(pieces, ',', true);
    names.clear();
    for (const CStringBuf& piece : pieces)
        if (CStringBuf name = piece.trimmed(); !name.isEmpty())
            names.push_back(std::move(name));
}

}

CError CAudioParamFilterDef::init()
{
    KOR_TRY(CObject::init());
    readNames(sourceNames, getAttrString("src"));
    if (sourceNames.empty())
        return KOR_FAIL("No source parameters defined.");
    readNames(destinationNames, getAttrString("dst"));
    if (destinationNames.empty())
        return KOR_FAIL("No destination parameters defined.");
    return {};
}

}
