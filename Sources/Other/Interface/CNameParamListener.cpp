// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CNameParamListener.h"

#include "Other/Interface/CAudioVizCollector.h"

namespace kor
{

CNameParamListener::CNameParamListener(CAudioVizCollector& owner, CAudioParam* instanceName, CAudioParam* groupNames)
    : instanceParam(instanceName), groupsParam(groupNames), collector(owner)
{
    for (CAudioParam* param : {instanceParam, groupsParam})
        if (param != nullptr)
            param->addHook(*this);
}

CNameParamListener::~CNameParamListener()
{
    for (CAudioParam* param : {instanceParam, groupsParam})
        if (param != nullptr)
            param->removeHook(*this);
}

void CNameParamListener::onParamChange(const CAudioParamRequest&, CAudioParamUndoContext*)
{
    CAudioParamChangeScope::defer([owner = &collector] { owner->publishNames(); });
}

}
