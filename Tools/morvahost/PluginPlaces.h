// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"

#include <string>
#include <vector>

namespace kor
{

/// Folders that hold plug-ins, first the program's own: those of $VST3_PATH, ~/.vst3, the machine's.
std::vector<std::string> pluginFolders();

/// The bundle that a user means: a path, or the bundle's name with or without ".vst3", looked for in pluginFolders().
/// Fails with the places that it is not in.
CError findPlugin(const std::string& given, std::string& bundle);

}
