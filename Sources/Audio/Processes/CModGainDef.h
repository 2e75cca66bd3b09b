// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalDef.h"
#include "Audio/Processes/CModGain.h"

namespace kor
{

/// Definition of a gain (`audio:modGain`).
class CModGainDef : public CAudioProcessTerminalDef<CModGain>
{
};

}
