// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CAudioVizDataRGB.h"

namespace kor
{

CError CAudioVizDataRGB::write(COutputStream& stream) const
{
    KOR_TRY(CAudioVizData::write(stream));
    KOR_TRY(stream.writeDouble(r));
    KOR_TRY(stream.writeDouble(g));
    return stream.writeDouble(b);
}

CError CAudioVizDataRGB::read(CInputStream& stream)
{
    KOR_TRY(CAudioVizData::read(stream));
    KOR_TRY(stream.readDouble(r));
    KOR_TRY(stream.readDouble(g));
    return stream.readDouble(b);
}

}
