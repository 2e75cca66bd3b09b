// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CAudioFilterGenArrayItem.h"

#include "Audio/Filters/CAudioFilterGenArray.h"

namespace kor
{

CError CAudioFilterGenArrayItem::init()
{
    KOR_TRY(CObject::init());
    auto* array = dynamic_cast<CAudioFilterGenArray*>(parent());
    if (array == nullptr)
        return KOR_FAIL("CAudioFilterGenArray class parent expected.");
    CAudioFilterGen* generator = nullptr;
    KOR_TRY(findObjectByAttr(generator, "fltgen"));
    const int index = getAttrInt("index");
    if (index < 0 || index > CAudioFilterGenArray::maxIndex)
        return KOR_FAIL("Invalid index '%1' specified.", getAttrString("index"));
    array->setItem(index, *generator);
    return {};
}

}
