// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CAudioInterfaceBase.h"

#include "Audio/Parameters/CAudioParamCollector.h"

namespace kor
{

CError CAudioInterfaceBase::init()
{
    KOR_TRY(CObject::init());
    CAudioParamCollector* params = nullptr;
    KOR_TRY(findObjectByAttr(params, "param-collector"));
    const int capacity = getAttrInt("undo-count-max");
    if (capacity <= 0)
        return KOR_FAIL("Invalid 'undo-count-max' attribute value.");
    setUp(*params, capacity);
    return {};
}

}
