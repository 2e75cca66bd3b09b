// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParam.h"

namespace kor
{

class CAudioVizCollector;

// Follows the texts that an export slot is shown by: the instance's name and those of its groups.
class CNameParamListener : public CAudioParamChangeHook
{
public:
    /// Null where the instance has none. They outlive this.
    CNameParamListener(CAudioVizCollector& owner, CAudioParam* instanceName, CAudioParam* groupNames);
    ~CNameParamListener() override;
    void onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext* undo) override;

    CAudioParam* const instanceParam;
    CAudioParam* const groupsParam;

private:
    CAudioVizCollector& collector;
};

}
