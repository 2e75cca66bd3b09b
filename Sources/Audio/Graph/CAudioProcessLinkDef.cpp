// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioProcessLinkDef.h"

namespace kor
{

CError CAudioProcessLinkDef::readEnd(CEnd& end, const char* attribute) const
{
    const CStringBuf& text = getAttrString(attribute);
    if (text.isEmpty())
        return KOR_FAIL("No '%1' attribute defined.", attribute);

    const int slash = text.findChar(u'/');
    CEnd read;
    read.node = (slash < 0 ? text : text.substr(0, slash)).trimmed();
    if (read.node.isEmpty())
        return KOR_FAIL("Invalid process in the '%1' attribute value '%2' specified.", attribute, text);
    if (slash >= 0)
    {
        bool isReadable = false;
        read.port = text.substr(slash + 1).trimmed().toInt(isReadable);
        if (!isReadable || read.port < 0 || read.port > maxPort)
            return KOR_FAIL("Invalid port in the '%1' attribute value '%2' specified.", attribute, text);
    }
    end = std::move(read);
    return {};
}

CError CAudioProcessLinkDef::init()
{
    KOR_TRY(CObject::init());
    KOR_TRY(readEnd(src, "src"));
    KOR_TRY(readEnd(dst, "dst"));
    if (hasAttr("state-id"))
        state = getAttrInt("state-id");

    CArray<CStringBuf> ids;
    getAttrString("bypass-state-id").split(ids, u' ', true);
    for (const CStringBuf& text : ids)
    {
        bool isReadable = false;
        const int bypassId = text.toInt(isReadable);
        if (!isReadable)
            return KOR_FAIL("Invalid state identifier '%1' specified.", text);
        bypassIds.push_back(bypassId);
    }
    return {};
}

}
