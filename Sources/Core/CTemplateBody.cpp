// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CTemplateBody.h"

#include <cstring>

namespace kor
{

CTemplateBody::CTemplateBody(const CStringBuf& base, const unsigned char* source, std::size_t byteCount,
                             bool isBorrowedData, std::shared_ptr<const CStringTable> stringTable)
    : baseTagText(base), bytes(source), count(byteCount), borrowed(isBorrowedData), table(std::move(stringTable))
{
    if (borrowed)
        return;
    unsigned char* target = inlineBytes;
    if (byteCount > inlineSize)
        target = owned = static_cast<unsigned char*>(allocBlock(byteCount));
    std::memcpy(target, source, byteCount);
    bytes = target;
}

CTemplateBody::~CTemplateBody()
{
    if (owned != nullptr)
        freeBlock(owned);
}

}
