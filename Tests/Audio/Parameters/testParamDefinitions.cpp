// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Converters/CAudioParamConverter.h"
#include "Audio/Parameters/CAudioParamName.h"
#include "Audio/Parameters/CAudioParamRemapDef.h"
#include "ParamTree.h"
#include "StreamsInMemory.h"

namespace kor::test
{
namespace
{

// A named list that changes while it is in use.
class CNames : public CAudioParamNameList
{
public:
    CArray<CAudioParamStateName> stateNames() const override { return names; }
    CArray<CAudioParamStateName> names{{"Normal", ""}};
};
CNames presetNames;

const CAudioParamNameList* findNames(const CStringBuf& name)
{
    return name.equals("dynmode-presets") ? &presetNames : nullptr;
}

std::string listsOf(const CAudioParamInfo& info)
{
    std::string out;
    for (std::size_t g = 0; g < info.defaultValues.size(); ++g)
    {
        out += g > 0 ? ";" : "";
        for (std::size_t e = 0; e < info.defaultValues[g].size(); ++e)
        {
            const bool isText = info.type == CAudioParamType::string;
            const CStringBuf text = isText ? info.defaultTexts[g][e] : CStringBuf::fromDouble(info.defaultValues[g][e]);
            out += (e > 0 ? "|" : "") + text.toUtf8();
        }
    }
    return out;
}

const CAttrs text = {{"data-type", "string"}, {"converter", "shared::audio.paramcvt.text"}};

CAttrs with(CAttrs attrs, const CAttrs& more)
{
    attrs.insert(attrs.end(), more.begin(), more.end());
    return attrs;
}

}

TEST(ParamDefinition, RefusesWithTheReason)
{
    struct Case
    {
        CAttrs attrs;
        const char* failure;
    };
    const std::string real = "shared::audio.paramcvt.real";
    const Case cases[] = {
        {{{"element-size", "0"}}, "Invalid element size 0 specified."},
        {{{"element-size", "2"}, {"data-type", "str"}}, "Invalid element size 2 for non-float data specified."},
        {{{"element-size", "2"}}, "Not enough converters defined 1 (should be 2)."},
        {{{"converter", "shared::audio.paramcvt.none"}},
         "Audio parameter converter 'shared::audio.paramcvt.none' not found."},
        {{{"converter", "shared::audio.paramcvt"}}, "Audio parameter converter 'shared::audio.paramcvt' not found."},
        {{{"min-values", ""}}, "Not enough minimum values defined 0 (should be 1)."},
        {{{"element-size", "2"}, {"converter2", real}, {"min-values", "0 0"}},
         "Not enough maximum values defined 1 (should be 2)."},
        {{{"element-size", "2"}, {"converter2", real}, {"min-values", "0 1"}, {"max-values", "1 1"}},
         "Zero default min-max values difference detected in element 1."},
        {{{"min-values", "nothing"}, {"max-values", "0"}},             // unreadable counts as 0
         "Zero default min-max values difference detected in element 0."},
        {{{"def-values", "1,x"}}, "Default values parsing error."},
        {{{"def-values", "1,,2"}}, "Default values parsing error."},
        {{{"element-size", "2"}, {"converter2", real}, {"min-values", "0 0"}, {"max-values", "1 1"},
          {"def-values", "0,0,1"}}, "Not enough default elements at pos 3."},
        {{{"def-values", ""}}, "No default values specified."},
    };
    for (const Case& c : cases)
    {
        const CParamTree tree(c.attrs);
        EXPECT_NE(tree.failure().find(c.failure), std::string::npos) << c.failure << "\ngot: " << tree.failure();
    }
}

TEST(ParamDefinition, FlagsFollowTheirRules)
{
    struct Case
    {
        CAttrs attrs;
        bool isPersistent, isStorable, isGlobal;
    };
    const Case cases[] = {
        {{}, false, false, false},
        {{{"is-global", "true"}}, false, false, true},
        {{{"is-persistent", "true"}, {"is-storable", "true"}, {"is-global", "false"}}, true, false, true},
        {{{"is-storable", "true"}, {"is-global", "false"}}, false, true, true},
    };
    for (const Case& c : cases)
    {
        CParamTree tree(c.attrs);
        const CAudioParamInfo& info = tree.def().info();
        EXPECT_EQ(info.isPersistent, c.isPersistent);
        EXPECT_EQ(info.isStorable, c.isStorable);
        EXPECT_EQ(info.isGlobal, c.isGlobal);
    }
}

TEST(ParamDefinition, RangesAndDefaultsPassTheConverter)
{
    {
        CParamTree gain({{"converter", "shared::audio.paramcvt.gain"}, {"min-values", "-20"}, {"max-values", "20"},
                         {"def-values", "0"}});
        EXPECT_NEAR(gain.def().info().minValue(0), 0.1, 1e-15);
        EXPECT_NEAR(gain.def().info().maxValue(0), 10.0, 1e-14);
        EXPECT_EQ(gain.def().info().defaultValue(0, 0), 1.0);
    }

    struct Case
    {
        CAttrs attrs;
        const char* lists;                          // elements parted by "|", groups by ";"
    };
    const Case cases[] = {
        {{{"def-values", "3"}}, "3"},
        {{{"def-values", "7,6"}}, "7|6"},           // never a decimal sign
        {{{"def-values", "7 6, 5"}}, "7|6|5"},
        {{{"def-values", "1 2;3"}}, "1|2;3"},
        {{{"def-values", "1;;3"}}, "1;;3"},
        {{{"def-values", "99"}}, "10"},             // clamped
        {with(text, {{"def-values", "Front left,LFE;3"}}), "Front left|LFE;3"},
        {with(text, {{"def-values", ""}}), ""},     // one empty text
        {{{"data-type", "raw"}, {"def-values", "0"}}, "0"},
    };
    for (const Case& c : cases)
    {
        CParamTree tree(c.attrs);
        EXPECT_EQ(tree.failure(), "");
        EXPECT_EQ(listsOf(tree.def().info()), c.lists);
    }

    {
        CParamTree texts(with(text, {{"min-values", "5"}, {"max-values", "6"}}));
        EXPECT_EQ(texts.def().info().minValue(0), 0.0);
        EXPECT_EQ(texts.def().info().maxValue(0), 8388608.0);
    }
}

TEST(ParamDefinition, StateNamesAreFixedOrFollowAList)
{
    {
        CParamTree fixed({{"state-names", "Off;Lo-shelf|Lo-shlf"}, {"converter", "shared::audio.paramcvt.enum"}});
        const CArray<CAudioParamStateName> wanted = {{"Off", ""}, {"Lo-shelf", "Lo-shlf"}};
        EXPECT_EQ(fixed.def().info().stateNames(), wanted);
    }
    {
        CParamTree unknown({{"state-names", "@dynmode-presets"}, {"converter", "shared::audio.paramcvt.enum"}});
        EXPECT_EQ(unknown.failure(), "");                   // nobody has lists: no names
        EXPECT_TRUE(unknown.def().info().stateNames().empty());
    }
    setAudioParamNameListFinder(findNames);
    {
        CParamTree missing({{"state-names", "@no-such-list"}, {"converter", "shared::audio.paramcvt.enum"}});
        EXPECT_NE(missing.failure().find("No state names data available in 'no-such-list'."), std::string::npos);
    }
    CParamTree live({{"state-names", "@dynmode-presets"}, {"converter", "shared::audio.paramcvt.enum"}});
    ASSERT_EQ(live.failure(), "");
    CStringBuf shown;
    const CAudioParamInfo& info = live.def().info();
    info.converter()->format(shown, info, 0, 1.0);
    EXPECT_EQ(shown, "Reserve");
    presetNames.names.push_back({"Instant", ""});
    info.converter()->format(shown, info, 0, 1.0);
    EXPECT_EQ(shown, "Instant");
    setAudioParamNameListFinder(nullptr);
}

TEST(ParamDefinition, StoredFormRoundTripsAndRefusesOthers)
{
    CParamTree tree(CNodes::list, {
        {"audio:param", "p", paramAttrs({{"def-values", "1 2;3"}, {"is-storable", "true"}, {"is-single-group", "true"},
                                         {"state-names", "A|a;B"}, {"visual-name", "Über"}})},
        {"audio:param", "t", paramAttrs(with(text, {{"def-values", "L,R"}}))}});
    for (const char* name : {"p", "t"})
    {
        CMemoryOut out;
        ASSERT_TRUE(succeeded(tree.def(name).info().save(out)));
        CMemoryIn in(out.bytes);
        CAudioParamInfo loaded;
        ASSERT_TRUE(succeeded(loaded.load(in, (*tree).root())));
        EXPECT_TRUE(loaded == tree.def(name).info()) << name;
        for (std::size_t cut = 0; cut < out.bytes.size(); ++cut)
        {
            CMemoryIn half(CByteArray(out.bytes.begin(), out.bytes.begin() + static_cast<std::ptrdiff_t>(cut)));
            CAudioParamInfo untouched;
            EXPECT_TRUE(untouched.load(half, (*tree).root())) << cut;
            EXPECT_TRUE(untouched.isEmpty());
        }
        out.bytes[0] = 2;
        CMemoryIn other(out.bytes);
        EXPECT_EQ(loaded.load(other, (*tree).root()).message(), "Unsupported data set version 2.");
    }
}

TEST(ParamNames, ExpandAgainstThePath)
{
    struct Case
    {
        const char* name;
        const char* path;
        const char* expanded;
    };
    const Case cases[] = {
        {"freq", "plugin.modMain.mod", "plugin.modMain.mod.freq"},
        {"/plugin.modMain.meter-rmstime", "a.b", "plugin.modMain.meter-rmstime"},
        {"^io-params.in-routing", "plugin.modMain.mod", "plugin.modMain.io-params.in-routing"},
        {"^^x", "a.b.c", "a.x"},
        {"^^^^x", "a.b", "x"},
        {"x", "", "x"},
        {"^", "a.b", "a"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(expandParamName(c.name, c.path).toUtf8(), c.expanded) << c.name;
}

TEST(ParamDefinition, AllocsAndRemaps)
{
    struct Case
    {
        CTreeNode node;
        const char* failure;
        const char* pairs;
    };
    const auto script = [](const char* value)
    { return CTreeNode{"audio:param-remap", "r", {}, {{"core:object", "content", {{"value", value}}}}}; };
    const Case cases[] = {
        {{"audio:param-remap", "r", {{"orig", "routing"}, {"new", "^io.in"}}}, "", "routing>^io.in "},
        {script(" a.index = index;\n a.freq=freq ; "), "", "a.index>index a.freq>freq "},
        {script("a=b c=d"), "", "a>b c>d "},
        {{"audio:param-remap", "r"}, "No remappings defined.", ""},
        {script("a=b;c"), "Invalid remapping string 'c' defined.", ""},
        {script("a=;"), "Invalid remapping string 'a=' defined.", ""},
        {script("a=b=c;"), "Invalid remapping string 'a=b=c' defined.", ""},
        {{"audio:param-alloc", "r", {{"index", "0"}}}, "Invalid parameter name specified.", ""},
        {{"audio:param-alloc", "r", {{"param-name", "gain"}, {"index", "-1"}}},
         "Invalid parameter's 'gain' index '-1' specified.", ""},
    };
    for (const Case& c : cases)
    {
        CParamTree tree(CNodes::list, {c.node});
        EXPECT_EQ(tree.failure().empty(), *c.failure == 0) << tree.failure();
        EXPECT_NE(tree.failure().find(c.failure), std::string::npos) << c.failure << "\n" << tree.failure();
        std::string pairs;
        if (tree.failure().empty())
            for (const auto& pair : dynamic_cast<CAudioParamRemapDef&>((*tree).at("r")).pairs())
                pairs += pair.orig.toUtf8() + ">" + pair.replacement.toUtf8() + " ";
        EXPECT_EQ(pairs, c.pairs);
    }

}

}
