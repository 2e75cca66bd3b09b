// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TreeCompiler/CMistake.h"

#include <set>
#include <string>

namespace kor
{

// The object types that an element may name, read from a text file: one type a line, "#" begins a comment.
class CTypeList
{
public:
    /// On a mistake the list stays as it was.
    CMistake read(const std::string& path);

    bool contains(const std::string& type) const { return types.count(type) != 0; }
    std::size_t size() const { return types.size(); }

private:
    std::set<std::string> types;
};

}
