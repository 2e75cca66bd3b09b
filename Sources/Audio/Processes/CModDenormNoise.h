// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModDenormNoiseModule.h"

namespace kor
{

/// Adds the noise against denormals to every channel, at the entrance of the graph.
class CModDenormNoise : public CAudioProcessTerminal<CModDenormNoiseModule>
{
};

}
