// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kor
{

/// Reads a compiled tree, knowing of the form only what its description says, and lists it, one node a line, indented
/// by two blanks a level:
///     TAG 'NAME' ATTR='VALUE'...
///     template 'NAME' of BASE, with the body indented below it
/// A byte that does not fit gives a line that begins with "broken:" instead of the whole list.
std::string decodeTree(const std::vector<std::uint8_t>& bytes);

}
