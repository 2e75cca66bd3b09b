// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CAudioFilterGen.h"

namespace kor
{

CError CAudioFilterGen::readTypeNumber(int& type, int last) const
{
    const int value = getAttrInt("type");
    if (value < 0 || value > last)
        return KOR_FAIL("Invalid filter type '%1' specified.", getAttrString("type"));
    type = value;
    return {};
}

}
