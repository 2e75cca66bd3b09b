// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModFilterIIRModule.h"

namespace kor
{

/// A recursive filter on every channel. Design parameters glide inside the module; a change of the filter's type is a
/// crossfade between two modules.
class CModFilterIIR : public CAudioProcessTerminal<CModFilterIIRModule>
{
};

}
