// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModAbsModule.h"

namespace kor
{

/// Rectifies every channel.
class CModAbs : public CAudioProcessTerminal<CModAbsModule>
{
};

}
