// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CParamCopy.h"

#include <algorithm>

namespace kor
{

void CParamCopy::onParamInfo(const CAudioParamInfo& next, const CAudioParamRequest* defaultList)
{
    definition = next;
    current = {};
    current.clear(definition);
    defaultLists = {};
    defaultLists.clear(definition);
    defaultLists.setGroupCount(1);
    if (defaultList != nullptr)
        defaultLists.applyChange(*defaultList);
}

void CParamCopy::onParamChange(const CAudioParamRequest& change)
{
    if (definition.isEmpty())
        return;
    if (change.group != allGroups)
        current.setGroupCount(std::max(current.groupCount(), change.group + 1));
    current.applyChange(change);
}

}
