// SPDX-License-Identifier: GPL-3.0-or-later
#include "SourceFolder.h"

#include <gtest/gtest.h>

using namespace kor;

namespace
{

struct MergeCase
{
    const char* name;
    const char* inside;
    const char* list;                               // without the root's line
};

const MergeCase mergeCases[] = {
    {"attributes: the template's order, overridden in place, then own",
     R"(<template name="t" base="x" a="1" b="2" c="3"/>
        <t name="n" d="4" b="5" e="" c="false"/>)",
     R"(  template 't' of x
    x '' a='1' b='2' c='3'
  x 'n' a='1' b='5' c='false' d='4' e=''
)"},
    {"a template serves before its place in the file",
     R"(<t/><template name="t" base="u"/><template name="u" base="y" a="1"/>)",
     R"(  y '' a='1'
  template 't' of y
    y '' a='1'
  template 'u' of y
    y '' a='1'
)"},
    {"defaults nearer by build on those further up",
     R"(<template name="x" base="x" a="1" b="1"/>
        <y><template name="x" base="x" b="2"/><x/></y><x/>)",
     R"(  template 'x' of x
    x '' a='1' b='1'
  y ''
    template 'x' of x
      x '' a='1' b='2'
    x '' a='1' b='2'
  x '' a='1' b='1'
)"},
    {"mix-ins: behind the base, in the order written, beneath what the template says; no trace of themselves",
     R"(<template name="m" with="n" a="m" b="m"/><template name="n" a="n" z="n"/><template name="o" b="o" c="o"/>
        <template name="s" base="x" a="s" d="s"/>
        <template name="t" base="s" with="m o" c="t"/>
        <t d="own"/>)",
     R"(  template 's' of x
    x '' a='s' d='s'
  template 't' of x
    x '' a='m' d='s' z='n' b='o' c='t'
  x '' a='m' d='own' z='n' b='o' c='t'
)"},
    {"mix-ins bring children, read where the mix-in stands",
     R"(<template name="x" base="x" far="1"/><template name="m"><x name="c"/><z name="e" a="m" b="m"/></template>
        <y><template name="x" base="x" near="1"/>
           <template name="t" base="y" with="m"><z name="e" b="t"/><x name="d"/></template><t/></y>)",
     R"(  template 'x' of x
    x '' far='1'
  y ''
    template 'x' of x
      x '' far='1' near='1'
    template 't' of y
      y ''
        x 'c' far='1'
        z 'e' a='m' b='t'
        x 'd' far='1' near='1'
    y ''
      x 'c' far='1'
      z 'e' a='m' b='t'
      x 'd' far='1' near='1'
)"},
    {"children: merged by name at every level, others behind",
     R"(<template name="t" base="x">
            <y name="one" a="1"><z name="in" d="1"/></y>
            <y name="two"/>
        </template>
        <t>
            <z name="new"/>
            <y name="two" b="2"/>
            <y name="one" c="3"><z name="more"/><z name="in" d="2"/></y>
        </t>)",
     R"(  template 't' of x
    x ''
      y 'one' a='1'
        z 'in' d='1'
      y 'two'
  x ''
    y 'one' a='1' c='3'
      z 'in' d='2'
      z 'more'
    y 'two' b='2'
    z 'new'
)"},
    {"children without a name never merge; the second of a name meets the second",
     R"(<template name="t" base="x"><y a="1"/><y name="n"/><y name="n"/></template>
        <t><y a="2"/><y name="n" k="1"/><y name="n" k="2"/><y name="n" k="3"/></t>)",
     R"(  template 't' of x
    x ''
      y '' a='1'
      y 'n'
      y 'n'
  x ''
    y '' a='1'
    y 'n' k='1'
    y 'n' k='2'
    y '' a='2'
    y 'n' k='3'
)"},
    {"merging writes what stands there, not the defaults of the child's own template",
     R"(<template name="p" base="y" a="0" b="0"/>
        <template name="t" base="x"><p name="n" a="1"/></template>
        <t><p name="n" b="2"/></t>
        <t><y name="n" c="3"/></t>)",
     R"(  template 'p' of y
    y '' a='0' b='0'
  template 't' of x
    x ''
      y 'n' a='1' b='0'
  x ''
    y 'n' a='1' b='2'
  x ''
    y 'n' a='1' b='0' c='3'
)"},
    {"a template under a node is seen in its subtree only, and comes along with a template",
     R"(<template name="ns:deep" base="x">
            <template name="item" base="z" a="1"/>
            <item name="i"/>
        </template>
        <ns:deep><y><item a="2"/></y></ns:deep>)",
     R"(  template 'ns:deep' of x
    x ''
      template 'item' of z
        z '' a='1'
      z 'i' a='1'
  x ''
    template 'item' of z
      z '' a='1'
    z 'i' a='1'
    y ''
      z '' a='2'
)"},
    {"a template's body is read where it is defined, not where it is used",
     R"(<template name="item" base="x" a="outer"/>
        <template name="t" base="y"><item/></template>
        <z><template name="item" base="x" a="inner"/><t/><item/></z>)",
     R"(  template 'item' of x
    x '' a='outer'
  template 't' of y
    y ''
      x '' a='outer'
  z ''
    template 'item' of x
      x '' a='inner'
    y ''
      x '' a='outer'
    x '' a='inner'
)"},
    {"templates under a node see each other, and so does what is merged into a template's child",
     R"(<template name="t" base="x"><y name="n"/></template>
        <t>
            <template name="b" base="a" q="1"/>
            <template name="a" base="z" p="1"/>
            <y name="n"><b/></y>
        </t>)",
     R"(  template 't' of x
    x ''
      y 'n'
  x ''
    y 'n'
      z '' p='1' q='1'
    template 'b' of z
      z '' p='1' q='1'
    template 'a' of z
      z '' p='1'
)"},
};

TEST(TreeMerging, ResultsOfEveryRule)
{
    for (const MergeCase& c : mergeCases)
        EXPECT_EQ(CSourceFolder().compile(c.inside), std::string(" ''\n") + c.list) << c.name;
}

TEST(TreeMerging, IncludesStandForTheirContent)
{
    CSourceFolder folder;
    folder.write("parts/a.xml", "\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8'?>\r\n<tree>\r\n"
                                "<template name='t' base='x' a='1'/>\r\n<include file='more/b.xml'/></tree>");
    folder.write("parts/more/b.xml", "<tree><t name='b'/></tree>");
    folder.write("empty.xml", "<tree/>");
    // A file may come twice, in different places, and what it defines is seen beside the include.
    EXPECT_EQ(folder.compile("<include file='parts/a.xml'/><t/><y><include file='parts/a.xml'/></y>"
                             "<include file='empty.xml'/>"),
              R"( ''
  template 't' of x
    x '' a='1'
  x 'b' a='1'
  x '' a='1'
  y ''
    template 't' of x
      x '' a='1'
    x 'b' a='1'
)");
}

}
