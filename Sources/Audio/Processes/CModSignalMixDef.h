// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalDef.h"
#include "Audio/Processes/CModSignalMix.h"

namespace kor
{

/// Crossfades between two signals by a third (`audio:modSignalMix`).
class CModSignalMixDef : public CAudioProcessTerminalDef<CModSignalMix>
{
};

}
