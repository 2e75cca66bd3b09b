// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kor::test
{

/// A node of a tree as a test writes it down. A node with a base defines a template: its attributes and children are
/// then those of the template's body.
struct CTreeNode
{
    std::string tag;
    std::string name;
    std::vector<std::pair<std::string, std::string>> attrs;
    std::vector<CTreeNode> children;
    std::string base;
};

// Writes compiled object trees in memory, so that tests of the reader need no compiler and can write what no compiler
// would: strings in any order, bodies of wrong size, counts that lie.
class CTreeBytes
{
public:
    using CBytes = std::vector<unsigned char>;

    /// The compiled form of a tree; tag and name of the root are not written.
    static CBytes of(const CTreeNode& root)
    {
        CTreeBytes writer;
        CBytes nodes;
        writer.addIndex(nodes, "");
        writer.addIndex(nodes, "");
        writer.addPlain(nodes, root);
        return writer.assemble(nodes);
    }

    /// The same, preceded by the byte count that embedded blocks carry.
    static CBytes blockOf(const CBytes& bytes)
    {
        CBytes block;
        addU32(block, static_cast<std::uint32_t>(bytes.size()));
        block.insert(block.end(), bytes.begin(), bytes.end());
        return block;
    }

    static void addU32(CBytes& bytes, std::uint32_t value)
    {
        addU16(bytes, value & 0xFFFF);
        addU16(bytes, value >> 16);
    }

    /// Index of a string in the pool, which takes it in.
    std::uint32_t index(const std::string& text)
    {
        const auto [entry, isNew] = indices.try_emplace(text, static_cast<std::uint32_t>(strings.size()));
        if (isNew)
            strings.push_back(text);
        return entry->second;
    }

    void addIndex(CBytes& bytes, const std::string& text) { addU16(bytes, index(text)); }

    /// A node with tag and name.
    void addNode(CBytes& bytes, const CTreeNode& node)
    {
        addIndex(bytes, node.base.empty() ? node.tag : "template");
        addIndex(bytes, node.name);
        if (node.base.empty())
            return addPlain(bytes, node);
        CBytes body;
        addIndex(body, node.base);
        addIndex(body, "");
        addPlain(body, node);
        bytes.push_back(1);
        addIndex(bytes, node.base);
        addU32(bytes, static_cast<std::uint32_t>(body.size()));
        bytes.insert(bytes.end(), body.begin(), body.end());
    }

    /// The whole file around the nodes.
    CBytes assemble(const CBytes& nodes) const
    {
        CBytes offsets;
        CBytes texts;
        for (const std::string& text : strings)
        {
            addU32(offsets, static_cast<std::uint32_t>(4 * strings.size() + texts.size()));
            texts.insert(texts.end(), text.begin(), text.end());
            texts.push_back(0);
        }
        CBytes all;
        addU32(all, static_cast<std::uint32_t>(strings.size()));
        addU32(all, static_cast<std::uint32_t>(offsets.size() + texts.size()));
        for (const CBytes* part : {&std::as_const(offsets), &std::as_const(texts), &nodes})
            all.insert(all.end(), part->begin(), part->end());
        return all;
    }

private:
    static void addU16(CBytes& bytes, std::uint32_t value)
    {
        bytes.push_back(static_cast<unsigned char>(value));
        bytes.push_back(static_cast<unsigned char>(value >> 8));
    }

    void addPlain(CBytes& bytes, const CTreeNode& node)
    {
        bytes.push_back(0);
        addU16(bytes, static_cast<std::uint32_t>(node.attrs.size()));
        for (const auto& [name, value] : node.attrs)
        {
            addIndex(bytes, name);
            addIndex(bytes, value);
        }
        addU16(bytes, static_cast<std::uint32_t>(node.children.size()));
        for (const CTreeNode& child : node.children)
            addNode(bytes, child);
    }

    std::map<std::string, std::uint32_t> indices;
    std::vector<std::string> strings;
};

}
