// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CAudioVizDataMeter.h"

namespace kor
{

CError CAudioVizDataMeter::write(COutputStream& stream) const
{
    KOR_TRY(CAudioVizData::write(stream));
    KOR_TRY(stream.writeDouble(value));
    return stream.writeDouble(peak);
}

CError CAudioVizDataMeter::read(CInputStream& stream)
{
    KOR_TRY(CAudioVizData::read(stream));
    KOR_TRY(stream.readDouble(value));
    return stream.readDouble(peak);
}

}
