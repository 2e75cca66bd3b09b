// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Converters/CAudioParamConverter.h"
#include "Audio/Filters/CAudioFilterGen.h"
#include "Audio/Filters/CAudioFilterGenArray.h"
#include "Audio/Parameters/CAudioParamInfo.h"
#include "Audio/Plugin/AudioCreators.h"
#include "SharedTree.h"

#include <fstream>
#include <set>
#include <vector>

namespace kor::test
{

namespace
{

using namespace std::string_literals;

TEST_F(SharedTree, LoadsWithoutAComplaint)
{
    for (const std::string& line : logged())
        EXPECT_TRUE(line.starts_with("Initializing application") || line.starts_with("Finalizing application")) << line;
}

TEST_F(SharedTree, KnowsEveryTypeThatTheCompilerAccepts)
{
    std::set<std::string> types;
    std::ifstream file(MORVA_TREE_TYPES);
    for (std::string line; std::getline(file, line);)
    {
        if (!line.empty() && line.front() != '#')
            types.insert(line.substr(0, line.find_first_of(" \t")));
    }
    ASSERT_GT(types.size(), 100u);
    for (const CCreatorRow& row : allCreators())
        EXPECT_TRUE(types.contains(row.tag)) << row.tag;
}

TEST_F(SharedTree, CarriesTheIdentityThatHostsAndProjectsReferTo)
{
    const struct
    {
        const char* name;
        const char* value;
    } rows[] = {
        {"app-name", "MorvaEQ"}, {"app-vendor", "Tenvaro"}, {"app-version", "3.8"},
        {"plugin-intchannel-count", "8"}, {"plugin-group-count", "8"}, {"plugin-tail", "0.4"},
        {"auto-oversampling-rtmode", "1"}, {"window-width", "770"}, {"window-height", "630"},
        {"min-window-width", "770"}, {"min-window-height", "450"}, {"plugin-category-vst3", "Fx|EQ"},
        {"def-grouping", "0,0,1,1,2,2,3,3"}, {"app-desc", "Parametric dynamic equalizer."},
        {"uniform-latencies", "44100=502;48000=502;88200=502;96000=502;176400=502;192000=502;352800=502;384000=502"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(attr("project", row.name), row.value) << row.name;
    for (const char* name : {"use-spectrum", "use-oversampling", "use-routing", "use-mid-side", "use-denorm",
                             "use-metering", "use-bypass"})
        EXPECT_EQ(attr("project", name), "true") << name;
    EXPECT_EQ(attr("project", "plugin-uuid").size(), 36u);
    EXPECT_EQ(attr("project", "plugin-code"), "q7ne");
    EXPECT_EQ(attr("audio", "plugin-tag"), "plugin");
}

TEST_F(SharedTree, HasEveryConverterWithItsUnit)
{
    const struct
    {
        const char* name;
        const char* label;
        bool isDiscrete;
        double value;
        const char* text;                           // of the value, as a user reads it
    } rows[] = {
        {"gain", "dB", false, 2.0, "6.0"},        {"freq", "Hz", false, 1234.0, "1.23k"},
        {"bw", "Oct", false, 1.5, "1.50"},        {"ratio", "", false, 2.0, "2.00"},
        {"real", "", false, 0.25, "0.25"},        {"percent", "%", false, 1.0, "100"},
        {"time", "ms", false, 0.25, "250"},       {"time-sec", "s", false, 250.0, "250"},
        {"enum", "", true, 3.0, "3"},             {"enum-enable", "", true, 1.0, "On"},
    };
    CAudioParamInfo info;
    info.minValues.assign(1, 0.0);
    info.maxValues.assign(1, 1000.0);
    for (const auto& row : rows)
    {
        auto* converter = dynamic_cast<CAudioParamConverter*>(&at(std::string("audio.paramcvt.") + row.name));
        ASSERT_NE(converter, nullptr) << row.name;
        EXPECT_EQ(converter->getAttrString("label").toUtf8(), row.label) << row.name;
        EXPECT_EQ(converter->getAttrBool("is-discrete"), row.isDiscrete) << row.name;
        CStringBuf text;
        converter->format(text, info, 0, row.value);
        EXPECT_EQ(text.toUtf8(), row.text) << row.name;
    }
}

TEST_F(SharedTree, GivesEachFilterListItsGenerators)
{
    const std::vector<std::pair<const char*, std::vector<const char*>>> lists = {
        {"audio.morvafilters",
         {"bypass", "peak_magnusB", "peak_magnusB", "peak_magnusB", "peak_magnusB", "ls_rbj2", "hs_rbj2", "lp2_rbj2",
          "hp2_rbj2", "lp4_lr_bw2", "hp4_lr_bw2", "notch_rbj2", "notch_rbj2_4", "notch_rbj2_8", "peak_magnusB_4",
          "peak_magnusB_8", "bp2_magnusA", "lp1", "hp1g"}},
        {"audio.fltarray.firlp", {"firlp"}},
        {"audio.fltarray.hp1", {"bypass", "hp1", "hp1b"}},
        {"audio.fltarray.hbf-steep5",
         {"hbf212t20", "hbf186t20", "hbf159t20", "hbf133t20", "hbf106t20", "hbf80t20", "hbf53t20"}},
        {"audio.fltarray.hbf-soft", {"hbf225t4", "hbf171t4", "hbf116t4", "hbf62t4"}},
    };
    for (const auto& [path, names] : lists)
    {
        auto* list = dynamic_cast<CAudioFilterGenArray*>(&at(path));
        ASSERT_NE(list, nullptr) << path;
        ASSERT_EQ(list->count(), static_cast<int>(names.size())) << path;
        for (int i = 0; i < list->count(); ++i)
        {
            const CAudioFilterGen* generator = list->getItem(i);
            ASSERT_NE(generator, nullptr) << path << " " << i;
            EXPECT_EQ(generator->fullName().toUtf8(), "audio.flt."s + names[static_cast<std::size_t>(i)]) << path;
        }
    }
}

}

}
