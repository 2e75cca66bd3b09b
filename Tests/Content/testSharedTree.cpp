// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Converters/CAudioParamConverter.h"
#include "Audio/Filters/CAudioFilterGen.h"
#include "Audio/Filters/CAudioFilterGenArray.h"
#include "Audio/Graph/CAudioGraphHost.h"
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Plugin/AudioCreators.h"
#include "Audio/Plugin/CAudioInstance.h"
#include "Core/CLog.h"
#include "MorvaResources.h"
#include "Support/CFreshDataFolders.h"
#include "Support/CTestTree.h"

#include <cmath>
#include <fstream>
#include <set>
#include <vector>

namespace kor::test
{

namespace
{

using namespace std::string_literals;

// Starts the real application once and keeps what it logged.
class SharedTree : public ::testing::Test
{
protected:
    struct CLines : CLogListener
    {
        void onLogLine(const CStringBuf& line) override { all.push_back(line.toUtf8()); }
        std::vector<std::string> all;
    };

    static void SetUpTestSuite()
    {
        static CFreshDataFolders folders;
        static CLines lines;
        logged = &lines;
        CLog::setListener(logged);
        CApplicationSetup setup;
        setup.creators = allCreators();
        setup.resources = morvaResources;
        EXPECT_TRUE(succeeded(CApplication::initApplication(setup)));
        ASSERT_NE(CApplication::getSharedRoot(), nullptr);
    }

    static void TearDownTestSuite() { CLog::setListener(nullptr); }

    static CObject& at(const std::string& path)
    {
        CObject* found = CApplication::getSharedRoot()->findObject(CStringBuf(std::string_view(path)));
        if (found == nullptr)
        {
            ADD_FAILURE() << "no object '" << path << "'";
            return *CApplication::getSharedRoot();
        }
        return *found;
    }

    static std::string attr(const std::string& path, const char* name) { return at(path).getAttrString(name).toUtf8(); }

    static CLines* logged;
};

SharedTree::CLines* SharedTree::logged = nullptr;

TEST_F(SharedTree, LoadsWithoutAComplaint)
{
    for (const std::string& line : logged->all)
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

TEST_F(SharedTree, DefinesTheParametersOfABand)
{
    CAudioInstance instance;
    ASSERT_TRUE(succeeded(instance.create()));
    EXPECT_EQ(instance.channelCount(), 8);
    EXPECT_EQ(instance.groupCount(), 8);
    EXPECT_EQ(instance.bandCount(), 5);
    EXPECT_EQ(instance.defaultGrouping(8), (std::vector<int>{0, 0, 1, 1, 2, 2, 3, 3}));

    const double gain30 = std::pow(10.0, 1.5);
    const struct
    {
        const char* name;
        double low;
        double high;
        std::vector<double> defaults;
        const char* visualName;
    } rows[] = {
        {"mode", 0, 20, {0, 0, 0, 0, 0}, "Filter type"},
        {"freq", 20, 96000, {31, 125, 500, 2000, 8000, 31}, "Filter frequency"},
        {"bw", 0.01, 7, {2.5, 2.5}, "Filter bandwidth"},
        {"gain", 1 / gain30, gain30, {1, 1}, "Filter gain"},
    };
    for (const auto& row : rows)
    {
        CAudioParam* param = instance.findParam(CStringBuf(std::string_view("modMorvaEQ.eq-params."s + row.name)));
        ASSERT_NE(param, nullptr) << row.name;
        const CAudioParamInfo& info = param->info();
        EXPECT_NEAR(info.minValue(0), row.low, 1e-12 * row.high) << row.name;
        EXPECT_NEAR(info.maxValue(0), row.high, 1e-12 * row.high) << row.name;
        EXPECT_TRUE(info.isGlobal && info.isStorable && !info.isPersistent) << row.name;
        EXPECT_FALSE(info.isSingleGroup || info.isSingleElement) << row.name;
        EXPECT_EQ(info.visualName.toUtf8(), row.visualName) << row.name;
        for (int group : {0, 7})
        {
            for (std::size_t e = 0; e < row.defaults.size(); ++e)
                EXPECT_NEAR(param->getValue(group, static_cast<int>(e)), row.defaults[e], 1e-12) << row.name << e;
        }
    }

    const char* const states[] = {
        "Off",        "Peaking",    "Peaking Inv", "Peaking Hrm", "Peaking Plain", "Lo-shelf", "Hi-shelf",
        "Lo-pass 12", "Hi-pass 12", "Lo-pass 24",  "Hi-pass 24",  "Notch",         "Notch 4",  "Notch 8",
        "Peaking 4",  "Peaking 8",  "Bandpass",    "Lo-pass 6",   "Hi-pass 6"};
    const char* const shortStates[] = {
        "Off",  "Peaking", "PeakInv", "PeakHrm", "PeakPln", "Lo-shlf", "Hi-shlf", "LP12",  "HP12", "LP24",
        "HP24", "Notch",   "Notch4",  "Notch8",  "Peak4",   "Peak8",   "BPass",   "LP6",   "HP6"};
    const CAudioParamInfo& mode = instance.findParam("modMorvaEQ.eq-params.mode")->info();
    ASSERT_EQ(mode.stateNames().size(), std::size(states));
    for (int i = 0; i < static_cast<int>(std::size(states)); ++i)
    {
        CStringBuf text;
        mode.converter()->format(text, mode, 0, i, CAudioParamTextMode::normal);
        EXPECT_EQ(text.toUtf8(), states[i]);
        mode.converter()->format(text, mode, 0, i, CAudioParamTextMode::compact);
        EXPECT_EQ(text.toUtf8(), shortStates[i]);
    }
}

// Two instances share what is read-only and nothing else.
TEST_F(SharedTree, KeepsInstancesApart)
{
    CAudioInstance first;
    CAudioInstance second;
    ASSERT_TRUE(succeeded(first.create()));
    ASSERT_TRUE(succeeded(second.create()));
    first.findParam("modMorvaEQ.eq-params.freq")->setValue(0, 0, 440.0);
    EXPECT_DOUBLE_EQ(first.findParam("modMorvaEQ.eq-params.freq")->getValue(0, 0), 440.0);
    EXPECT_DOUBLE_EQ(second.findParam("modMorvaEQ.eq-params.freq")->getValue(0, 0), 31.0);
}

// With nothing set, every sample comes out as it went in, to the bit and without delay.
TEST_F(SharedTree, PassesSoundUnchangedByDefault)
{
    CAudioInstance instance;
    ASSERT_TRUE(succeeded(instance.create()));
    const std::vector<int> groups = instance.defaultGrouping(3);
    ASSERT_TRUE(succeeded(instance.graph().setLayout(groups, 48000.0)));
    EXPECT_EQ(instance.graph().latency(), 0);

    constexpr int frames = 1500;
    std::vector<std::vector<double>> in(3, std::vector<double>(frames)), out(3, std::vector<double>(frames, 7.0));
    unsigned state = 1;
    for (auto& channel : in)
    {
        for (double& sample : channel)
        {
            state = state * 1664525u + 1013904223u;
            sample = state / 2147483648.0 - 1.0;
        }
    }
    const double* from[] = {in[0].data(), in[1].data(), in[2].data()};
    double* to[] = {out[0].data(), out[1].data(), out[2].data()};
    instance.graph().process(from, to, 3, frames);
    EXPECT_EQ(in, out);
}

}

}
