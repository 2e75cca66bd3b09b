// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalDef.h"
#include "Audio/Processes/CModInterpolator.h"

namespace kor
{

/// Definition of the node that doubles the sample rate (`audio:modInterpolator`).
class CModInterpolatorDef : public CAudioProcessTerminalDef<CModInterpolator>
{
};

}
