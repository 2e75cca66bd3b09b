// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalDef.h"
#include "Audio/Processes/CModSpectrum.h"

namespace kor
{

/// Definition of a spectrum analyser (`audio:modSpectrum`).
class CModSpectrumDef : public CAudioProcessTerminalDef<CModSpectrum>
{
};

}
