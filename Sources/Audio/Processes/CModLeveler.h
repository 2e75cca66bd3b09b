// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModLevelerModule.h"

namespace kor
{

/// Links the levels of all channels: one module for all of them, so its definition says is-terminal-whole.
class CModLeveler : public CAudioProcessTerminal<CModLevelerModule>
{
};

}
