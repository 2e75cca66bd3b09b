// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModGainModule.h"

namespace kor
{

/// Gain, mute and polarity of every channel. Its changes are crossfades, which the definition asks for.
class CModGain : public CAudioProcessTerminal<CModGainModule>
{
};

}
