// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalDef.h"
#include "Audio/Processes/CModLeveler.h"

namespace kor
{

/// Links the levels of all channels (`audio:modLeveler`).
class CModLevelerDef : public CAudioProcessTerminalDef<CModLeveler>
{
};

}
