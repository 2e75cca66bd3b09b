// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CGroupNamesParamListener.h"

#include "Core/CLog.h"
#include "Core/CObject.h"

namespace kor
{

void CGroupNamesParamListener::onParamInfo(const CAudioParamInfo& next, const CAudioParamRequest* defaultList)
{
    CParamCopy::onParamInfo(next, defaultList);
    tell();
}

void CGroupNamesParamListener::onParamChange(const CAudioParamRequest& change)
{
    CParamCopy::onParamChange(change);
    tell();
}

void CGroupNamesParamListener::tell()
{
    if (CError failure = owner.sendEvent("group-names-changed"))
        CLog::writeError(std::move(failure));
}

}
