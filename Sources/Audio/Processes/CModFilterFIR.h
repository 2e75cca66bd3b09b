// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModFilterFIRModule.h"

namespace kor
{

/// A long FIR filter on every channel. Every change is a crossfade between two modules where the tree says so.
class CModFilterFIR : public CAudioProcessTerminal<CModFilterFIRModule>
{
};

}
