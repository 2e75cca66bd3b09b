// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CExportSlotParamListener.h"

#include "Other/Interface/CAudioVizCollector.h"

namespace kor
{

CExportSlotParamListener::CExportSlotParamListener(CAudioVizCollector& owner, CAudioParam* slot, CAudioParam* color)
    : slotParam(slot), colorParam(color), collector(owner)
{
    for (CAudioParam* param : {slotParam, colorParam})
        if (param != nullptr)
            param->addHook(*this);
}

CExportSlotParamListener::~CExportSlotParamListener()
{
    for (CAudioParam* param : {slotParam, colorParam})
        if (param != nullptr)
            param->removeHook(*this);
}

void CExportSlotParamListener::onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext*)
{
    if (request.param == slotParam)
        collector.noteExportSlots(*slotParam);
    CAudioParamChangeScope::defer([owner = &collector] { owner->publishNames(); });
}

}
