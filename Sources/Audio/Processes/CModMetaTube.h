// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModMetaTubeModule.h"

namespace kor
{

/// The waveshaper behind the filter of a harmonic band: port 0 is shaped, port 1 is the dry signal that steers it. Its
/// changes are crossfades, which the definition asks for.
class CModMetaTube : public CAudioProcessTerminal<CModMetaTubeModule>
{
};

}
