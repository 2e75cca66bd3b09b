// SPDX-License-Identifier: GPL-3.0-or-later
#include "SourceFolder.h"
#include "TreeDecoder.h"

#include <gtest/gtest.h>

#include <random>

using namespace kor;

namespace
{

std::vector<std::uint8_t> compiled(const CSourceFolder& folder)
{
    CCompiledTree tree;
    const CMistake mistake = compileTree(folder.path("main.xml"), folder.path("types.txt"), tree);
    EXPECT_EQ(mistake.text(), "");
    return tree.bytes;
}

/// "02 00 'ab'" as bytes: hexadecimal numbers, and texts in quotes with a NUL behind each.
std::vector<std::uint8_t> bytesOf(const std::string& text)
{
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < text.size();)
    {
        if (text[i] == '\'')
        {
            const std::size_t end = text.find('\'', i + 1);
            bytes.insert(bytes.end(), text.begin() + static_cast<long>(i) + 1, text.begin() + static_cast<long>(end));
            bytes.push_back(0);
            i = end + 1;
        }
        else if (text[i] == ' ')
            ++i;
        else
        {
            bytes.push_back(static_cast<std::uint8_t>(std::stoi(text.substr(i, 2), nullptr, 16)));
            i += 2;
        }
    }
    return bytes;
}

/// `count` times `text`, with each '#' replaced by the number.
std::string repeated(int count, const std::string& text)
{
    std::string result;
    for (int i = 0; i < count; ++i)
        for (const char c : text)
            result += c == '#' ? std::to_string(i) : std::string(1, c);
    return result;
}

TEST(TreeForm, BytesOfSmallTreesWorkedOutByHand)
{
    struct Case
    {
        const char* name;
        const char* source;
        const char* bytes;
    };
    const Case cases[] = {
        {"root attribute, UTF-8, references, value as written",
         "<tree b=\"&#xE4;\xE2\x82\xAC &amp;{?d}\"/>",
         "03 00 00 00  1B 00 00 00  0C 00 00 00  0D 00 00 00  0F 00 00 00  '' 'b' 'ä€ &{?d}'"
         "00 00 00 00 00  01 00  01 00 02 00  00 00"},
        {"template, instance, child", R"(<tree>
              <template name="t" base="x" a="1"/>
              <t name="n" b="2"><y/></t>
          </tree>)",
         // strings 0 to 9 at offsets 40 to 64, behind their table of 40 bytes
         "0A 00 00 00  42 00 00 00"
         "28 00 00 00  29 00 00 00  32 00 00 00  34 00 00 00  36 00 00 00"
         "38 00 00 00  3A 00 00 00  3C 00 00 00  3E 00 00 00  40 00 00 00"
         "'' 'template' 't' 'x' 'a' '1' 'n' 'b' '2' 'y'"
         // root: no attributes, two children
         "00 00 00 00 00  00 00  02 00"
         // template 't' of 'x', 13 bytes: x '' with a=1
         "01 00 02 00 01  03 00  0D 00 00 00   03 00 00 00 00  01 00  04 00 05 00  00 00"
         // x 'n' with a=1 b=2 and the child y ''
         "03 00 06 00 00  02 00  04 00 05 00  07 00 08 00  01 00   09 00 00 00 00  00 00  00 00"},
    };
    for (const Case& c : cases)
    {
        CSourceFolder folder;
        folder.write("main.xml", c.source);
        EXPECT_EQ(compiled(folder), bytesOf(c.bytes)) << c.name;
    }
}

TEST(TreeForm, EqualSourcesGiveEqualBytesWhereverTheyLie)
{
    const auto build = [](const std::string& partName) {
        CSourceFolder folder;
        folder.write(partName, "<tree>" + repeated(300, "<y name='n#' v='#'/>") + "</tree>");
        folder.write("main.xml", "<tree><include file='" + partName + "'/><template name='t' base='x'/></tree>");
        return compiled(folder);
    };
    EXPECT_EQ(build("part.xml"), build("some/other/place.xml"));
}

/// A random tree, written as XML into `xml` and as it should be decoded into `list`.
class CRandomTree
{
public:
    explicit CRandomTree(unsigned seed) : random(seed) {}

    void node(std::size_t level)
    {
        // Values, and how a source may write them.
        static const std::string values[] = {"", "false", "12", "{/^ a?b}", "a", "x",
                                             "<&>\"'", "\t \n", "\xC3\xA4\xF0\x9F\x8E\xB5"};
        static const std::string escaped[] = {"", "false", "12", "{/^ a?b}", "a", "x",
                                              "&lt;&amp;>&quot;&apos;", "&#9; &#10;", "&#228;\xF0\x9F\x8E\xB5"};
        const std::string tag = level == 0 ? "" : pick(3) == 0 ? "ns:deep" : "x";
        const std::string name = level == 0 || pick(4) == 0 ? "" : "n" + std::to_string(pick(5));
        xml += "<" + (level == 0 ? "tree" : tag) + (name.empty() ? "" : " name='" + name + "'");
        list += std::string(2 * level, ' ') + tag + " '" + name + "'";
        for (std::size_t i = pick(4); i > 0; --i)
        {
            const std::size_t v = pick(std::size(values));
            xml += " a" + std::to_string(i) + "=\"" + escaped[v] + "\"";
            list += " a" + std::to_string(i) + "='" + values[v] + "'";
        }
        xml += ">";
        list += "\n";
        for (std::size_t i = level < 6 ? pick(5) : 0; i > 0; --i)
            node(level + 1);
        xml += "<!-- end --></" + (level == 0 ? "tree" : tag) + ">\n";
    }

    std::string xml;
    std::string list;

private:
    std::size_t pick(std::size_t count) { return random() % count; }

    std::mt19937 random;
};

TEST(TreeForm, RandomTreesReadBackAsWritten)
{
    for (unsigned seed = 1; seed <= 60; ++seed)
    {
        CRandomTree tree(seed);
        tree.node(0);
        CSourceFolder folder;
        folder.write("main.xml", tree.xml);
        EXPECT_EQ(folder.compile(), tree.list) << "seed " << seed;
    }
}

std::string nested(int levels, const std::string& inside = "")
{
    return repeated(levels, "<x>") + inside + repeated(levels, "</x>");
}

TEST(TreeForm, LimitsHoldExactly)
{
    const std::string deepTemplate = "\n<template name='deep' base='x'>" + nested(199) + "</template>\n";
    std::string doubling = "<template name='d0' base='x'/>";
    for (int i = 1; i <= 20; ++i)
        doubling += "\n<template name='d" + std::to_string(i) + "' base='x'><d" + std::to_string(i - 1) + "/><d" +
                    std::to_string(i - 1) + "/></template>";
    struct Case
    {
        const char* name;
        std::string inside;
        const char* mistake;                        // "" for none
    };
    const Case cases[] = {
        // Beside the values there are "", "x" and "v", and, one too many, "w".
        {"65536 strings", repeated(65533, "<x v='s#'/>"), ""},
        {"65537 strings", repeated(65533, "<x v='s#'/>") + "\n<x w=''/>",
         "main.xml:2: the tree holds more than 65536 different strings from here on"},
        {"65535 children", repeated(65535, "<x/>"), ""},
        {"65536 children", "\n<y>" + repeated(65536, "<x/>") + "</y>",
         "main.xml:2: 'y' has 65536 children (at most 65535)"},
        {"257 levels", "\n" + nested(255, "\n<y/>"), "main.xml:3: 'y' is nested deeper than 256 levels"},
        {"256 levels through a template", deepTemplate + nested(55, "<deep/>"), ""},
        {"257 levels through a template that comes later", nested(56, "<deep/>") + deepTemplate,
         "main.xml:1: 'deep' is nested deeper than 256 levels, counting what templates bring along"},
        {"templates that double each other", "\n" + doubling,
         "main.xml:20: the tree grows beyond 1000000 nodes here"},
    };
    for (const Case& c : cases)
    {
        CSourceFolder folder;
        const std::string result = folder.compile(c.inside);
        EXPECT_EQ(result.starts_with(" ''\n") ? "" : result, c.mistake) << c.name;
    }
}

}
