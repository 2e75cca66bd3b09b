// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamListener.h"

#include "Audio/Parameters/CAudioParamQueue.h"

namespace kor
{

CAudioParamListener::~CAudioParamListener()
{
    if (queue != nullptr)
        queue->unbindAll(*this);
}

const CAudioParamRecord* CAudioParamListener::peekRecord() const noexcept
{
    return first->record;
}

void CAudioParamListener::dropFirst() noexcept
{
    queue->dropFirst(*this);
}

}
