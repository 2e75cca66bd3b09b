// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParam.h"

namespace kor
{

class CAudioParamRegistry;

// Follows the parameter that shows the name of the current program. A text that somebody else than the registry puts
// there, outside a record of undo, becomes the program's name: so it does when undo brings an earlier text back.
class CAudioParamRegistryNameBridge : public CAudioParamChangeHook
{
public:
    CAudioParamRegistryNameBridge(CAudioParamRegistry& owner, CAudioParam& param);
    ~CAudioParamRegistryNameBridge() override;
    CAudioParamRegistryNameBridge(const CAudioParamRegistryNameBridge&) = delete;
    CAudioParamRegistryNameBridge& operator=(const CAudioParamRegistryNameBridge&) = delete;

    void onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext* undo) override;

    /// Lives while a registry writes the parameter itself, on the thread that does.
    class COwnChange
    {
    public:
        COwnChange() noexcept;
        ~COwnChange();
        COwnChange(const COwnChange&) = delete;
        COwnChange& operator=(const COwnChange&) = delete;
    };

private:
    CAudioParamRegistry& registry;
    CAudioParam& nameParam;
};

}
