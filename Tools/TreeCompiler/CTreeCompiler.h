// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TreeCompiler/CMistake.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kor
{

/// What compiling a source tree gives. The files are known even when a mistake ended it.
struct CCompiledTree
{
    std::vector<std::uint8_t> bytes;
    std::vector<std::string> files;                 // read on the way: the types, the source, its includes
};

/// Compiles the source tree at `sourcePath`, whose elements may have the types listed in the file `typesPath`. Equal
/// sources give equal bytes, wherever the files lie.
CMistake compileTree(const std::string& sourcePath, const std::string& typesPath, CCompiledTree& result);

}
