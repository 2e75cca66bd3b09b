// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CProgramChangeBridge.h"

#include "Audio/Plugin/CAudioExtParamHostBridge.h"
#include "Audio/Plugin/CAudioHostCall.h"

namespace kor
{

CProgramChangeBridge::CProgramChangeBridge(CAudioParamRegistry& programs, CAudioExtParamHostBridge& host)
    : registry(programs), bridge(host)
{
    registry.addListener(*this);
}

CProgramChangeBridge::~CProgramChangeBridge()
{
    registry.removeListener(*this);
}

void CProgramChangeBridge::setProgram(int index)
{
    const CAudioHostCall call;
    registry.setCurrentProgram(index, this);
}

void CProgramChangeBridge::onProgramsChanged(CAudioParamRegistry&, const CAudioParamRegistryListener* sender)
{
    bridge.programChanged(sender == this || CAudioHostCall::isOpen());
}

}
