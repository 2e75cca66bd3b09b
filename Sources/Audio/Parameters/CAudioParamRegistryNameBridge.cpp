// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamRegistryNameBridge.h"

#include "Audio/Parameters/CAudioParamRegistry.h"

namespace kor
{

namespace
{
thread_local int ownChanges = 0;
}

CAudioParamRegistryNameBridge::COwnChange::COwnChange() noexcept
{
    ++ownChanges;
}

CAudioParamRegistryNameBridge::COwnChange::~COwnChange()
{
    --ownChanges;
}

CAudioParamRegistryNameBridge::CAudioParamRegistryNameBridge(CAudioParamRegistry& owner, CAudioParam& param)
    : registry(owner), nameParam(param)
{
    nameParam.addHook(*this);
}

CAudioParamRegistryNameBridge::~CAudioParamRegistryNameBridge()
{
    nameParam.removeHook(*this);
}

void CAudioParamRegistryNameBridge::onParamChange(const CAudioParamRequest&, CAudioParamUndoContext* undo)
{
    if (ownChanges == 0 && (undo == nullptr || undo->isReplay()))
        CAudioParamChangeScope::defer([owner = &registry] { owner->takeShownName(); });
}

}
