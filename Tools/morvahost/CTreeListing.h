// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringTable.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace kor
{

// Writes the nodes of a compiled tree as text, one a line, as they stand in the file: templates unexpanded, values with
// their braces. Makes no object, so that it lists any tree, also one whose types this program does not have. The bytes
// may come from anywhere: every length, count and index is checked against what is there.
class CTreeListing
{
public:
    /// The bytes must outlive the object.
    CError open(std::span<const unsigned char> bytes);

    /// Appends the object at a path ("audio.morvafilters"; empty for the whole tree) and all below it to `out`.
    /// `nearest`: with a failure for an unknown path, how much of the path there is.
    CError list(std::string& out, std::string_view path);

private:
    struct CNode
    {
        std::size_t start;                  // of the attribute count
        std::string tag;
        std::string name;
        std::string baseTag;                // of a template; empty for a plain node
    };

    CError readNumber(int size, std::uint32_t& value);
    CError readText(std::string& text);
    CError readNode(CNode& node);
    CError writeNode(std::string& out, const CNode& node, int depth);
    CError skipNode(int depth);
    CError readAttributes(std::string* out);

    std::span<const unsigned char> data;
    std::size_t position = 0;
    std::size_t rootPosition = 0;
    std::shared_ptr<const CStringTable> strings;
};

}
