// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalDef.h"
#include "Audio/Processes/CModMetaTube.h"

namespace kor
{

/// Definition of the waveshaper (`audio:modMetaTube`).
class CModMetaTubeDef : public CAudioProcessTerminalDef<CModMetaTube>
{
};

}
