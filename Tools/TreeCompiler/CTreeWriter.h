// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TreeCompiler/CTreeNode.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace kor
{

// Writes an expanded tree in the compiled form, little-endian whatever the machine:
//     u32 number of strings | u32 bytes from offset 8 to the root node | u32 offset (from 8) of each string |
//     the strings, UTF-8, each ended by NUL | the root node
//     node:      u16 tag | u16 name | u8 flag | flag 0: u16 count, (u16 name, u16 value) per attribute,
//                u16 count, the children | flag 1, a template: u16 base type | u32 bytes of the body | the body, a node
// The strings stand once each, in the order in which the nodes first name them, so that equal trees give equal bytes.
class CTreeWriter
{
public:
    /// Replaces `bytes`; on a mistake (more strings, attributes, children or bytes than the form can number) they stay.
    CMistake write(const CTreeNode& root, std::vector<std::uint8_t>& bytes);

private:
    CMistake writeNode(const CTreeNode& node);
    CMistake writeString(const std::string& text, const CTreeNode& user);
    CMistake writeCount(std::size_t count, const char* what, const CTreeNode& user);
    void writeU16(std::size_t value);
    void writeU32(std::size_t value);

    std::unordered_map<std::string, std::size_t> indices;
    std::vector<const std::string*> strings;        // keys of `indices`, which never move
    std::vector<std::uint8_t> nodes;
};

}
