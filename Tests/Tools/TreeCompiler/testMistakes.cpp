// SPDX-License-Identifier: GPL-3.0-or-later
#include "SourceFolder.h"

#include <gtest/gtest.h>

using namespace kor;

namespace
{

struct MistakeCase
{
    const char* source;                             // of main.xml, or of the list of types
    const char* mistake;
};

const MistakeCase mistakes[] = {
    // Faults of the XML
    {"", "main.xml: there is no root element"},
    {"<tree>\n<x>\n</tree>", "main.xml:3: '</tree>' where '<x>' of line 2 should be closed"},
    {"<tree>\n<x>\n", "main.xml:2: '<x>' is never closed"},
    {"<tree/>\n</tree>", "main.xml:2: '</tree>' closes nothing"},
    {"<tree/>\n<tree/>", "main.xml:2: a second root element '<tree>'"},
    {"<tree/>\nx", "main.xml:2: text outside the root element"},
    {"<tree>\n<x", "main.xml:2: the tag '<x' is never closed"},
    {"<tree>\n< x/></tree>", "main.xml:2: '<' begins no element here (write it as '&lt;')"},
    {"<tree a/>", "main.xml:1: attribute 'a' has no value"},
    {"<tree>\n<x a=1/></tree>", "main.xml:2: the value of attribute 'a' is not in quotes"},
    {"<tree a='1'b='2'/>", "main.xml:1: a blank is missing in front of an attribute of '<tree>'"},
    {"<tree ='1'/>", "main.xml:1: '=' where the name of an attribute should begin"},
    {"<tree\n a='1'\n a='2'/>", "main.xml:3: attribute 'a' is given twice"},
    {"<tree a='1\n\n", "main.xml:1: the value of attribute 'a' is never closed"},
    {"<tree>\n<x a='1/>\n<y b='2'/></tree>",
     "main.xml:3: '<' in the value of attribute 'a' (a quote is missing, or write it as '&lt;')"},
    {"<tree a='&nbsp;'/>", "main.xml:1: '&' begins no known reference (write it as '&amp;')"},
    {"<tree a='&#0;'/>", "main.xml:1: '&' begins no known reference (write it as '&amp;')"},
    {"<tree a='&#4294967361;'/>", "main.xml:1: '&' begins no known reference (write it as '&amp;')"},
    {"<tree>\n<!-- a -- b --></tree>", "main.xml:2: '--' inside the comment of line 2"},
    {"<tree>\n<![CDATA[ a</tree>", "main.xml:2: a CDATA section is never closed"},
    {"\n<?xml version='1.0'>", "main.xml:2: a processing instruction is never closed"},
    {"<!DOCTYPE tree>\n<tree/>", "main.xml:1: a document type has no place in a source tree"},
    {"<tree>\n\x01</tree>", "main.xml:2: character 1 has no place in XML"},
    {"<tree>\n<x a='\xE4'/></tree>", "main.xml:2: these bytes are not UTF-8"},
    {"<tree a='\xC0\x80'/>", "main.xml:1: these bytes are not UTF-8"},
    {"<tree a='\xED\xA0\x80'/>", "main.xml:1: character 55296 has no place in XML"},
    {"<?xml version='1.0' encoding='ISO-8859-1'?><tree/>",
     "main.xml:1: the encoding is 'ISO-8859-1' (source trees are UTF-8)"},
    // Faults of the tree
    {"<x/>", "main.xml:1: the root element is 'x' (should be 'tree')"},
    {"<tree name='r'/>", "main.xml:1: the root of a tree has no name"},
    {"<tree>\n<tree/></tree>", "main.xml:2: 'tree' can be the root element only"},
    {"<tree>\n<x>\nhello</x></tree>", "main.xml:3: text in 'x' (an element holds attributes and elements only)"},
    {"<tree><x>\n<w/></x></tree>",
     "main.xml:2: unknown object type 'w' (neither a type nor a template seen from here)"},
    {"<tree><x><template name='t' base='x'/></x>\n<t/></tree>",
     "main.xml:2: unknown object type 't' (neither a type nor a template seen from here)"},
    {"<tree>\n<x name='a.b'/></tree>",
     "main.xml:2: the name 'a.b' holds a blank or one of . ^ / # { } ? * , ; =, so no path could reach it"},
    {"<tree>\n<x full-name='a'/></tree>",
     "main.xml:2: attribute 'full-name' is set by the program and cannot be written"},
    {"<tree>\n<template base='x'/></tree>", "main.xml:2: a template without a name"},
    {"<tree><template name='m'/>\n<m/></tree>",
     "main.xml:2: template 'm' has no base, so it can only be mixed into other templates (defined at main.xml:1)"},
    {"<tree><template name='m'/>\n<template name='t' base='m'/></tree>",
     "main.xml:2: template 'm' has no base, so it can only be mixed into other templates (defined at main.xml:1)"},
    {"<tree>\n<template name='t' base='x' with='w'/></tree>",
     "main.xml:2: template 't' is made with 'w', which is no template seen from here"},
    {"<tree><template name='u' base='x'/>\n<template name='t' base='x' with='u'/></tree>",
     "main.xml:2: template 't' is made with 'u', which has a base of its own"},
    {"<tree><template name='m' with='n'/>\n<template name='n' with='m'/></tree>",
     "main.xml:2: template 'm' needs itself (m > n > m)"},
    {"<tree><template name='m'><y name='n'/></template>\n<template name='t' base='x' with='m'>\n"
     "<z name='n'/></template></tree>",
     "main.xml:3: 'n' is a 'z' here, but a 'y' at main.xml:1, into which it would be merged"},
    {"<tree>\n<template name='t' base='w'/></tree>",
     "main.xml:2: template 't' has the unknown base 'w' (neither a type nor a template seen from here)"},
    {"<tree><template name='t' base='x'>\n<template name='in' base='x'/></template>\n"
     "<t><template name='in' base='y'/></t></tree>",
     "main.xml:3: template 'in' is already defined at main.xml:2"},
    {"<tree>\n<template name='a' base='x'><y>\n<b/></y></template>\n<template name='b' base='x'>\n<a/></template>\n"
     "<template name='c' base='a'/></tree>",
     "main.xml:5: template 'a' needs itself (a > b > a)"},
    {"<tree><template name='p' base='y'/><template name='q' base='y'/><template name='t' base='x'>\n"
     "<p name='n'/></template>\n<t><q name='n'/></t></tree>",
     "main.xml:3: 'n' is a 'q' here, but a 'p' at main.xml:2, into which it would be merged"},
    {"<tree>\n<include/></tree>", "main.xml:2: an include without a file"},
    {"<tree>\n<include file='part.xml'><x/></include></tree>", "main.xml:2: an include holds nothing"},
    {"<tree>\n<include file='dir'/></tree>", "main.xml:2: cannot include 'dir' (it is a directory)"},
    {"<tree><include file='dir/circle.xml'/></tree>",
     "dir/circle.xml:2: 'dir/../main.xml' includes itself, directly or through others"},
    {"<tree>\n<include file='attrs.xml'/></tree>",
     "attrs.xml:2: an included 'tree' has no attributes, but here is 'a'"},
    {"<tree>\n<include file='bad.xml'/></tree>",
     "bad.xml:3: unknown object type 'w' (neither a type nor a template seen from here)"},
};

TEST(TreeMistakes, FaultsAreNamedWithTheirLine)
{
    CSourceFolder folder;
    folder.write("part.xml", "<tree><template name='p' base='x'/></tree>");
    folder.write("attrs.xml", "\n<tree a='1'/>");
    folder.write("bad.xml", "<tree>\n<x/>\n<w/></tree>");
    folder.write("dir/circle.xml", "<tree>\n<include file='../main.xml'/></tree>");
    for (const MistakeCase& c : mistakes)
    {
        folder.write("main.xml", c.source);
        EXPECT_EQ(folder.compile(), c.mistake) << c.source;
    }
}

TEST(TreeMistakes, FaultsOfTheListOfTypesAreNamed)
{
    const MistakeCase cases[] = {
        {"# none\n", "types.txt: holds no object types"},
        {"x\ny z\n", "types.txt:2: 'z' behind 'y': a line holds one object type"},
        {"x\n\nx # again\n", "types.txt:3: object type 'x' is listed twice"},
    };
    CSourceFolder folder;
    for (const MistakeCase& c : cases)
    {
        folder.write("types.txt", c.source);
        EXPECT_EQ(folder.compile("<x/>"), c.mistake);
    }
}

/// Whatever one does to a good source, the answer is a tree or one line: no crash, no hang.
TEST(TreeMistakes, EveryTruncationAndEveryBrokenByteIsAnswered)
{
    const std::string good = "<?xml version='1.0'?>\n<tree a=\"&lt;\"><!-- c --><template name='t' base='x'>"
                             "<y name='n'/></template><t name='\xC3\xA4'><y name='n' b='&#x41;'/></t>"
                             "<include file='part.xml'/></tree>\n";
    CSourceFolder folder;
    folder.write("part.xml", "<tree><z/></tree>");
    const auto answer = [&](const std::string& source) {
        folder.write("main.xml", source);
        const std::string result = folder.compile();
        EXPECT_TRUE(result.starts_with(" ''") || result.starts_with("main.xml:")) << source << " -> " << result;
        return result;
    };
    ASSERT_TRUE(answer(good).starts_with(" ''"));
    for (std::size_t length = 0; length + 8 < good.size(); ++length)
        EXPECT_TRUE(answer(good.substr(0, length)).starts_with("main.xml:")) << length;
    for (std::size_t at = 0; at < good.size(); ++at)
        for (const char c : {'<', '>', '&', '"', '\'', '/', 'Q', '\0', '\xFF'})
        {
            std::string bad = good;
            bad[at] = c;
            answer(bad);
        }
}

}
