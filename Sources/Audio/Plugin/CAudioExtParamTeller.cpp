// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CAudioExtParamTeller.h"

#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Plugin/CAudioExtParamHostBridge.h"
#include "Audio/Plugin/CAudioHostCall.h"

#include <utility>

namespace kor
{

void CAudioExtParamTeller::connect(CAudioExtParamHostBridge* bridge, int index)
{
    CLockHolder hold(state->lock);
    state->bridge = bridge;
    state->index = index;
    state->isDue = state->isEdit = state->hasBegun = false;
}

void CAudioExtParamTeller::tell(double value, CAudioParamUndoContext* undo)
{
    const bool isEdit = !CAudioHostCall::isOpen();
    bool isFirst = false;
    bool wantsEnd = false;
    {
        CLockHolder hold(state->lock);
        if (state->bridge == nullptr)
            return;
        state->value = value;
        state->isEdit = state->isEdit || isEdit;
        isFirst = !std::exchange(state->isDue, true);
        wantsEnd = isEdit && undo != nullptr && !state->isHeld;
    }
    if (wantsEnd && undo->callWhenClosed([each = state] { each->release(); }))
    {
        CLockHolder hold(state->lock);
        state->isHeld = true;
    }
    if (isFirst)
        CAudioParamChangeScope::defer([each = state] { each->run(); });
}

void CAudioExtParamTeller::cancel()
{
    CLockHolder hold(state->lock);
    state->isDue = state->isEdit = false;
}

void CAudioExtParamTeller::show(double value)
{
    CAudioExtParamHostBridge* bridge = nullptr;
    int index = 0;
    {
        CLockHolder hold(state->lock);
        bridge = state->bridge;
        index = state->index;
    }
    if (bridge != nullptr)
        bridge->showValue(index, value);
}

bool CAudioExtParamTeller::isHeld() const
{
    CLockHolder hold(state->lock);
    return state->isHeld;
}

void CAudioExtParamTeller::CState::run()
{
    CAudioExtParamHostBridge* to = nullptr;
    int row = 0;
    double told = 0.0;
    bool edits = false;
    bool begins = false;
    bool ends = false;
    {
        CLockHolder hold(lock);
        if (!std::exchange(isDue, false) || bridge == nullptr)
            return;
        to = bridge;
        row = index;
        told = value;
        edits = std::exchange(isEdit, false);
        if (edits)
        {
            begins = !hasBegun;
            ends = !isHeld;
            hasBegun = isHeld;
        }
    }
    if (!edits)
    {
        to->showValue(row, told);
        return;
    }
    if (begins)
        to->beginEdit(row);
    to->sendValue(row, told);
    if (ends)
        to->endEdit(row);
}

void CAudioExtParamTeller::CState::release()
{
    CAudioExtParamHostBridge* to = nullptr;
    int row = 0;
    {
        CLockHolder hold(lock);
        isHeld = false;
        if (!std::exchange(hasBegun, false))
            return;
        to = bridge;
        row = index;
    }
    if (to != nullptr)
        to->endEdit(row);
}

}
