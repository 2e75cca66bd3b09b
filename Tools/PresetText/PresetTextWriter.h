// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PresetText/CPresetFile.h"

#include <string>

namespace kor
{

/// Presets as the text that CPresetTextReader reads: the same content gives the same text, and the text gives the same
/// bytes again. Needs the shared tree for units and states.
std::string presetText(const CPresetFile& file);

}
