// SPDX-License-Identifier: GPL-3.0-or-later
#include "TreeDecoder.h"

#include <set>

namespace kor
{

namespace
{

class CDecoder
{
public:
    explicit CDecoder(const std::vector<std::uint8_t>& treeBytes) : bytes(treeBytes) {}

    std::string run()
    {
        const std::size_t count = number(4);
        const std::size_t poolSize = number(4);
        if (bytes.size() < 8 || poolSize > bytes.size() - 8 || count > poolSize / 4)
            return "broken: header";
        std::set<std::string> seen;
        for (std::size_t i = 0; i < count; ++i)
        {
            const std::size_t offset = number(4);
            std::string text;
            for (std::size_t at = 8 + offset; at < 8 + poolSize && bytes[at] != 0; ++at)
                text += static_cast<char>(bytes[at]);
            if (offset < 4 * count || offset + text.size() >= poolSize)
                return "broken: string " + std::to_string(i);
            if (!seen.insert(text).second)
                return "broken: two strings '" + text + "'";
            strings.push_back(text);
        }
        pos = 8 + poolSize;
        node(0);
        if (pos != bytes.size())
            broken += "broken: " + std::to_string(bytes.size() - pos) + " bytes behind the root";
        return broken.empty() ? list : broken;
    }

private:
    std::size_t number(int width)
    {
        std::size_t value = 0;
        for (int i = 0; i < width; ++i, ++pos)
        {
            if (pos >= bytes.size())
            {
                broken = "broken: ends early";
                return 0;
            }
            value |= static_cast<std::size_t>(bytes[pos]) << (8 * i);
        }
        return value;
    }

    std::string text()
    {
        const std::size_t index = number(2);
        if (index < strings.size())
            return strings[index];
        broken = "broken: string index " + std::to_string(index);
        return "";
    }

    void node(std::size_t level)
    {
        const std::string tag = text();
        const std::string name = text();
        const std::size_t flag = number(1);
        list += std::string(2 * level, ' ') + tag + " '" + name + "'";
        if (flag > 1)
            broken = "broken: flag " + std::to_string(flag);
        if (flag == 1)
        {
            const std::string base = text();
            const std::size_t size = number(4);
            list += " of " + base + "\n";
            const std::size_t begin = pos;
            const std::size_t lineStart = list.size();
            node(level + 1);
            if (pos != begin + size)
                broken = "broken: body of '" + name + "'";
            const std::string expected = std::string(2 * level + 2, ' ') + base + " ''";
            if (tag != "template" || list.compare(lineStart, expected.size(), expected) != 0)
                broken = "broken: template '" + name + "'";
            return;
        }
        for (std::size_t count = number(2); count > 0 && broken.empty(); --count)
        {
            const std::string attr = text();
            list += " " + attr + "='" + text() + "'";
        }
        list += "\n";
        for (std::size_t count = number(2); count > 0 && broken.empty(); --count)
            node(level + 1);
    }

    const std::vector<std::uint8_t>& bytes;
    std::size_t pos = 0;
    std::vector<std::string> strings;
    std::string list;
    std::string broken;
};

}

std::string decodeTree(const std::vector<std::uint8_t>& bytes)
{
    return CDecoder(bytes).run();
}

}
