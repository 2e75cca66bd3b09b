// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalDef.h"
#include "Audio/Processes/CModDenormNoise.h"

namespace kor
{

/// Definition of the noise against denormals (`audio:modDenormNoise`).
class CModDenormNoiseDef : public CAudioProcessTerminalDef<CModDenormNoise>
{
};

}
