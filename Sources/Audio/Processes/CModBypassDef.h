// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalDef.h"
#include "Audio/Processes/CModBypass.h"

namespace kor
{

/// Definition of a bypass or solo switch (`audio:modBypass`).
class CModBypassDef : public CAudioProcessTerminalDef<CModBypass>
{
};

}
