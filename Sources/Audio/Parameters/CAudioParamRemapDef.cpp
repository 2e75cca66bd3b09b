// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamRemapDef.h"

namespace kor
{

CError CAudioParamRemapDef::initChilds()
{
    KOR_TRY(CObject::initChilds());
    pairList.clear();
    const CStringBuf& orig = getAttrString("orig");
    const CStringBuf& replacement = getAttrString("new");
    if (!orig.isEmpty() && !replacement.isEmpty())
        pairList.push_back({orig, replacement});
    if (const CObject* content = findChild("content"))
        KOR_TRY(parseScript(content->getAttrString("value")));
    if (pairList.empty())
        return KOR_FAIL("No remappings defined.");
    return {};
}

CError CAudioParamRemapDef::parseScript(const CStringBuf& script)
{
    CStringBuf text = script;
    for (int i = 0; i < text.length(); ++i)         // a script may be written over several lines
        if (text[i] == '\n' || text[i] == '\r' || text[i] == '\t')
            text.replace(i, 1, " ");
    CArray<CStringBuf> pieces;
    text.split(pieces, text.findChar(';') >= 0 ? u';' : u' ', true);
    for (const CStringBuf& piece : pieces)
    {
        const CStringBuf assignment = piece.trimmed();
        if (assignment.isEmpty())
            continue;
        CArray<CStringBuf> sides;
        assignment.split(sides, '=', false);
        if (sides.size() != 2 || sides[0].trimmed().isEmpty() || sides[1].trimmed().isEmpty())
            return KOR_FAIL("Invalid remapping string '%1' defined.", assignment);
        pairList.push_back({sides[0].trimmed(), sides[1].trimmed()});
    }
    return {};
}

}
