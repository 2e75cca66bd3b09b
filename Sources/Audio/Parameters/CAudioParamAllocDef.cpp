// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamAllocDef.h"

namespace kor
{

CError CAudioParamAllocDef::init()
{
    KOR_TRY(CObject::init());
    relativeName = getAttrString("param-name");
    if (relativeName.isEmpty())
        return KOR_FAIL("Invalid parameter name specified.");
    slotIndex = getAttrInt("index");
    if (slotIndex < 0)
        return KOR_FAIL("Invalid parameter's '%1' index '%2' specified.", relativeName, slotIndex);
    allGroupsWanted = getAttrBool("use-all-groups");
    allElementsWanted = getAttrBool("use-all-elements");
    smoothUpdate = getAttrBool("is-smooth-update");
    return {};
}

}
