// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalDef.h"
#include "Audio/Processes/CModMorvaEnvEQ.h"

namespace kor
{

/// The detector of a dynamic band (`audio:modMorvaEnvEQ`).
class CModMorvaEnvEQDef : public CAudioProcessTerminalDef<CModMorvaEnvEQ>
{
};

}
