// SPDX-License-Identifier: GPL-3.0-or-later
#include "CTreeListing.h"

namespace kor
{

namespace
{

constexpr int maxDepth = 256;
constexpr const char* cutOff = "the tree is cut off or damaged (at byte %1 of %2)";

// A value as it can stand in one line.
std::string quoted(const std::string& value)
{
    std::string text = "\"";
    for (const char c : value)
        if (c == '\n')
            text += "\\n";
        else if (static_cast<unsigned char>(c) < 0x20)
            text += ' ';
        else
            text += c;
    return text + '"';
}

}

CError CTreeListing::open(std::span<const unsigned char> bytes)
{
    data = bytes;
    position = 0;
    std::uint32_t count = 0;
    std::uint32_t poolSize = 0;
    KOR_TRY(readNumber(4, count));
    KOR_TRY(readNumber(4, poolSize));
    if (poolSize > data.size() - position)
        return KOR_FAIL(cutOff, position, data.size());
    KOR_TRY(CStringTable::decode(strings, data.data() + position, poolSize, count));
    rootPosition = position + poolSize;
    return {};
}

CError CTreeListing::readNumber(int size, std::uint32_t& value)
{
    if (data.size() - position < static_cast<std::size_t>(size))
        return KOR_FAIL(cutOff, position, data.size());
    value = 0;
    for (int i = 0; i < size; ++i)
        value |= std::uint32_t(data[position + static_cast<std::size_t>(i)]) << 8 * i;
    position += static_cast<std::size_t>(size);
    return {};
}

CError CTreeListing::readText(std::string& text)
{
    std::uint32_t index = 0;
    KOR_TRY(readNumber(2, index));
    if (index >= strings->count())
        return KOR_FAIL("the tree is damaged: string %1 of %2", index, strings->count());
    text = strings->text(index).toUtf8();
    return {};
}

CError CTreeListing::readNode(CNode& node)
{
    KOR_TRY(readText(node.tag));
    KOR_TRY(readText(node.name));
    std::uint32_t isTemplate = 0;
    KOR_TRY(readNumber(1, isTemplate));
    node.baseTag.clear();
    if (isTemplate != 0)
    {
        KOR_TRY(readText(node.baseTag));
        std::uint32_t size = 0;
        std::string bodyTag;
        std::string bodyName;
        std::uint32_t bodyFlag = 0;
        KOR_TRY(readNumber(4, size));
        KOR_TRY(readText(bodyTag));
        KOR_TRY(readText(bodyName));
        KOR_TRY(readNumber(1, bodyFlag));
        if (bodyFlag != 0)
            return KOR_FAIL("the tree is damaged: template '%1' holds no plain node", node.name);
    }
    node.start = position;
    return {};
}

CError CTreeListing::readAttributes(std::string* out)
{
    std::uint32_t count = 0;
    KOR_TRY(readNumber(2, count));
    std::string name;
    std::string value;
    for (std::uint32_t i = 0; i < count; ++i)
    {
        KOR_TRY(readText(name));
        KOR_TRY(readText(value));
        if (out != nullptr)
            *out += (i == 0 ? "  " : " ") + name + "=" + quoted(value);
    }
    return {};
}

CError CTreeListing::skipNode(int depth)
{
    if (depth > maxDepth)
        return KOR_FAIL("the tree is damaged: it nests deeper than %1", maxDepth);
    CNode node;
    KOR_TRY(readNode(node));
    KOR_TRY(readAttributes(nullptr));
    std::uint32_t count = 0;
    KOR_TRY(readNumber(2, count));
    for (std::uint32_t i = 0; i < count; ++i)
        KOR_TRY(skipNode(depth + 1));
    return {};
}

CError CTreeListing::writeNode(std::string& out, const CNode& node, int depth)
{
    if (depth > maxDepth)
        return KOR_FAIL("the tree is damaged: it nests deeper than %1", maxDepth);
    position = node.start;
    const bool isRoot = node.tag.empty() && node.name.empty() && depth == 0;
    const int indent = isRoot ? 0 : depth;
    if (!isRoot)
    {
        out.append(static_cast<std::size_t>(indent) * 2, ' ');
        out += node.baseTag.empty() ? node.tag : "template";
        if (!node.name.empty())
            out += ' ' + node.name;
        if (!node.baseTag.empty())
            out += " of " + node.baseTag;
    }
    KOR_TRY(readAttributes(&out));
    if (!out.empty() && out.back() != '\n')
        out += '\n';
    std::uint32_t count = 0;
    KOR_TRY(readNumber(2, count));
    for (std::uint32_t i = 0; i < count; ++i)
    {
        CNode child;
        KOR_TRY(readNode(child));
        KOR_TRY(writeNode(out, child, isRoot ? 0 : depth + 1));
    }
    return {};
}

CError CTreeListing::list(std::string& out, std::string_view path)
{
    position = rootPosition;
    CNode node;
    KOR_TRY(readNode(node));
    std::string_view rest = path;
    while (!rest.empty())
    {
        const std::string_view step = rest.substr(0, rest.find('.'));
        position = node.start;
        KOR_TRY(readAttributes(nullptr));
        std::uint32_t count = 0;
        KOR_TRY(readNumber(2, count));
        bool isFound = false;
        for (std::uint32_t i = 0; i < count && !isFound; ++i)
        {
            const std::size_t childPosition = position;
            CNode child;
            KOR_TRY(readNode(child));
            isFound = child.name == step;
            if (isFound)
                node = child;
            else
            {
                position = childPosition;
                KOR_TRY(skipNode(1));
            }
        }
        if (!isFound)
        {
            const std::string_view there = path.substr(0, path.size() - rest.size());
            return KOR_FAIL("there is no object '%1'%2", path,
                            there.empty() ? std::string("; `morvahost tree` lists them all")
                                          : "; '" + std::string(there.substr(0, there.size() - 1)) +
                                                "' has no child '" + std::string(step) + "'");
        }
        rest = step.size() == rest.size() ? std::string_view() : rest.substr(step.size() + 1);
    }
    return writeNode(out, node, 0);
}

}
