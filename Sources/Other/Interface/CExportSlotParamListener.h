// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParam.h"

namespace kor
{

class CAudioVizCollector;

// Follows which export slot each group shows itself by, and its colour there.
class CExportSlotParamListener : public CAudioParamChangeHook
{
public:
    /// slot, color: null where the instance has none. They outlive this.
    CExportSlotParamListener(CAudioVizCollector& owner, CAudioParam* slot, CAudioParam* color);
    ~CExportSlotParamListener() override;
    void onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext* undo) override;

    CAudioParam* const slotParam;
    CAudioParam* const colorParam;

private:
    CAudioVizCollector& collector;
};

}
