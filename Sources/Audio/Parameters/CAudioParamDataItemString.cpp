// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamDataItemString.h"

namespace kor
{

CAudioParamDataItemString::CAudioParamDataItemString(const CStringBuf& text) : content(text)
{
    content.cutToUtf8Bytes(maxStringBytes);
}

CAudioParamDataItem* CAudioParamDataItemString::clone() const
{
    return new CAudioParamDataItemString(*this);
}

CError CAudioParamDataItemString::save(COutputStream& stream) const
{
    return stream.writeString(content);
}

CError CAudioParamDataItemString::load(CInputStream& stream)
{
    CStringBuf loaded;
    KOR_TRY(stream.readString(loaded));
    content = std::move(loaded);
    return {};
}

}
