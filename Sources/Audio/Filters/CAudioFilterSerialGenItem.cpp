// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CAudioFilterSerialGenItem.h"

#include "Audio/Filters/CNumberList.h"

namespace kor
{

CError CAudioFilterSerialGenItem::init()
{
    KOR_TRY(CObject::init());
    CAudioFilterGen* found = nullptr;
    KOR_TRY(findObjectByAttr(found, "fltgen"));
    // What exists by now was made before this item, or holds it; only the latter could run in circles.
    for (const CObject* above = parent(); above != nullptr; above = above->parent())
        if (above == found)
            return KOR_FAIL("Filter generator '%1' contains itself.", found->fullName());
    KOR_TRY(readNumberList(adjust, getAttrString("adjust")));
    source = found;
    return {};
}

}
