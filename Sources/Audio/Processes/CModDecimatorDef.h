// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalDef.h"
#include "Audio/Processes/CModDecimator.h"

namespace kor
{

/// Definition of the node that halves the sample rate (`audio:modDecimator`).
class CModDecimatorDef : public CAudioProcessTerminalDef<CModDecimator>
{
};

}
