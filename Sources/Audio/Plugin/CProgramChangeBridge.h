// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamRegistry.h"

namespace kor
{

class CAudioExtParamHostBridge;

// Tells the host of changes to the programs of an instance, and chooses one for it.
class CProgramChangeBridge : private CAudioParamRegistryListener
{
public:
    /// Both must outlive this.
    CProgramChangeBridge(CAudioParamRegistry& programs, CAudioExtParamHostBridge& host);
    ~CProgramChangeBridge() override;

    /// The host's choice; an index out of range does nothing.
    void setProgram(int index);

private:
    void onProgramsChanged(CAudioParamRegistry& changed, const CAudioParamRegistryListener* sender) override;

    CAudioParamRegistry& registry;
    CAudioExtParamHostBridge& bridge;
};

}
