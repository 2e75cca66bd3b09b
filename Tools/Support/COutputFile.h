// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>

namespace kor
{

/// Writes a whole output of a build tool: beside its place first, then renamed over it, so that a build that is broken
/// off never finds half a file. False with the system's reason when that fails; what was there before then stays.
bool writeOutputFile(const std::string& path, const void* bytes, std::size_t size, std::string& reason);

}
