// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CAudioVizDataInfo.h"

namespace kor
{

CError CAudioVizDataInfo::write(COutputStream& stream) const
{
    KOR_TRY(CAudioVizData::write(stream));
    KOR_TRY(stream.writeString(text));
    return stream.writeInt(number);
}

CError CAudioVizDataInfo::read(CInputStream& stream)
{
    KOR_TRY(CAudioVizData::read(stream));
    KOR_TRY(stream.readString(text));
    return stream.readInt(number);
}

}
