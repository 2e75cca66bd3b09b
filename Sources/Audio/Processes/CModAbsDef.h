// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalDef.h"
#include "Audio/Processes/CModAbs.h"

namespace kor
{

/// Rectifies every channel (`audio:modAbs`).
class CModAbsDef : public CAudioProcessTerminalDef<CModAbs>
{
};

}
