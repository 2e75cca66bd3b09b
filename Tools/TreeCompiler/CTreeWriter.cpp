// SPDX-License-Identifier: GPL-3.0-or-later
#include "TreeCompiler/CTreeWriter.h"

#include <limits>

namespace kor
{

namespace
{

constexpr std::size_t maxStrings = 65536;           // indices are 16 bits wide
constexpr std::size_t maxCount = 65535;
constexpr std::size_t maxBytes = std::numeric_limits<std::uint32_t>::max();

void putU32(std::uint8_t* to, std::size_t value)
{
    for (int i = 0; i < 4; ++i)
        to[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

}

CMistake CTreeWriter::write(const CTreeNode& root, std::vector<std::uint8_t>& bytes)
{
    indices.clear();
    strings.clear();
    nodes.clear();
    if (CMistake m = writeNode(root))
        return m;

    std::size_t poolSize = 4 * strings.size();
    for (const std::string* text : strings)
        poolSize += text->size() + 1;
    if (poolSize + nodes.size() > maxBytes - 8)
        return root.source->mistake("the tree needs more than " + std::to_string(maxBytes) + " bytes");

    std::vector<std::uint8_t> result(8 + 4 * strings.size());
    putU32(&result[0], strings.size());
    putU32(&result[4], poolSize);
    for (std::size_t i = 0; i < strings.size(); ++i)
    {
        putU32(&result[8 + 4 * i], result.size() - 8);
        result.insert(result.end(), strings[i]->begin(), strings[i]->end());
        result.push_back(0);
    }
    result.insert(result.end(), nodes.begin(), nodes.end());
    bytes = std::move(result);
    return {};
}

CMistake CTreeWriter::writeNode(const CTreeNode& node)
{
    for (const std::string* text : {&node.tag, &node.name})
        if (CMistake m = writeString(*text, node))
            return m;
    nodes.push_back(node.isTemplate ? 1 : 0);

    if (node.isTemplate)
    {
        if (CMistake m = writeString(node.base, node))
            return m;
        const std::size_t sizeAt = nodes.size();
        writeU32(0);
        if (CMistake m = writeNode(node.children.front()))
            return m;
        const std::size_t size = nodes.size() - sizeAt - 4;
        if (size > maxBytes)
            return node.source->mistake("template '" + node.name + "' needs more than " + std::to_string(maxBytes) +
                                        " bytes");
        putU32(&nodes[sizeAt], size);
        return {};
    }

    if (CMistake m = writeCount(node.attrs.size(), "attributes", node))
        return m;
    for (const CTreeAttr& attr : node.attrs)
        for (const std::string* text : {&attr.first, &attr.second})
            if (CMistake m = writeString(*text, node))
                return m;
    if (CMistake m = writeCount(node.children.size(), "children", node))
        return m;
    for (const CTreeNode& child : node.children)
        if (CMistake m = writeNode(child))
            return m;
    return {};
}

CMistake CTreeWriter::writeString(const std::string& text, const CTreeNode& user)
{
    const auto [place, isNew] = indices.emplace(text, strings.size());
    if (isNew)
    {
        if (strings.size() >= maxStrings)
            return user.source->mistake("the tree holds more than " + std::to_string(maxStrings) +
                                        " different strings from here on");
        strings.push_back(&place->first);
    }
    writeU16(place->second);
    return {};
}

CMistake CTreeWriter::writeCount(std::size_t count, const char* what, const CTreeNode& user)
{
    if (count > maxCount)
        return user.source->mistake("'" + user.tag + "' has " + std::to_string(count) + " " + what + " (at most " +
                                    std::to_string(maxCount) + ")");
    writeU16(count);
    return {};
}

void CTreeWriter::writeU16(std::size_t value)
{
    nodes.push_back(static_cast<std::uint8_t>(value));
    nodes.push_back(static_cast<std::uint8_t>(value >> 8));
}

void CTreeWriter::writeU32(std::size_t value)
{
    writeU16(value & 0xFFFF);
    writeU16(value >> 16);
}

}
