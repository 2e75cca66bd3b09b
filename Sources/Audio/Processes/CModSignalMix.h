// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModSignalMixModule.h"

namespace kor
{

/// Crossfades on every channel from the signal of port 1 to that of port 0, by the position on port 2.
class CModSignalMix : public CAudioProcessTerminal<CModSignalMixModule>
{
};

}
