// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModBypassModule.h"

namespace kor
{

/// A switch between port 0, port 1 and silence, for every channel: bypass and solo. Both of its inputs are aligned like
/// those of any node; its changes are crossfades, which the definition asks for.
class CModBypass : public CAudioProcessTerminal<CModBypassModule>
{
};

}
