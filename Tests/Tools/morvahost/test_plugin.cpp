// SPDX-License-Identifier: GPL-3.0-or-later
// What render, info, params and bench do with the plug-in, and with others.
#include "HostFixture.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdlib>

namespace kor::test
{

namespace
{

using nlohmann::json;
using Words = std::vector<std::string>;

const std::string gain = MORVA_FIXTURES "/Gain.vst3";

class Plugin : public HostTest
{
protected:
    Plugin() { writeSound(path("in.wav"), noise(2, 3000)); }
    ~Plugin() override { ::unsetenv("FIXTURE_FORM"); }

    CRun render(const Words& more, const std::string& out = "out.wav") const
    {
        return runHost(joined({{"render", "--in", path("in.wav"), "--out", path(out), "--format", "f64", "--double",
                                "--force"}, more}));
    }

    std::vector<double> rendered(const Words& more) const
    {
        const CRun run = render(more);
        EXPECT_EQ(run.code, 0) << run.err;
        return readSound(path("out.wav")).samples;
    }
};

json parsed(const Words& words)
{
    const CRun run = runHost(words);
    EXPECT_EQ(run.code, 0) << run.err;
    return json::parse(run.out, nullptr, false);
}

}

TEST_F(Plugin, InfoTellsWhatAHostLearns)
{
    const json info = parsed({"info", "--json"});
    EXPECT_EQ(info["class"]["name"], "MorvaEQ");
    EXPECT_EQ(info["class"]["subCategories"], "Fx|EQ");
    EXPECT_EQ(info["parameters"], 57);
    EXPECT_EQ(info["programs"].size(), 11u);
    EXPECT_EQ(info["programs"][0], "Default");
    EXPECT_EQ(info["latency"], 0);
    EXPECT_EQ(info["tail"], 19200);                     // 0.4 s
    EXPECT_EQ(info["buses"].size(), 3u);
    EXPECT_EQ(parsed({"info", "--json", "--rate", "96k"})["tail"], 38400);

    // The latency is that of the settings, also of one that all instances share.
    const json steep = parsed({"info", "--json", "--set", "oversampling=2x", "--set", "lp-oversampling-enable=1"});
    const json graph = parsed({"info", "--graph", "--json", "--set", "oversampling=2x", "--set",
                               "lp-oversampling-enable=1"});
    EXPECT_GT(steep["latency"], 0);
    EXPECT_EQ(steep["latency"], graph["latency"]);

    const json other = parsed({"info", "--json", "--plugin", gain});
    EXPECT_EQ(other["class"]["name"], "Fixture Gain");
    EXPECT_EQ(other["class"]["id"], "6E1B5A012B7C4D119A0E3F5277C10D01");
    EXPECT_EQ(other["singleObject"], false);
    EXPECT_EQ(other["latency"], 3);
    EXPECT_NE(runHost({"info", "--plugin", gain}).out.find("tail       7 samples\n"), std::string::npos);
}

TEST_F(Plugin, ParamsListsWhatAHostShows)
{
    const json list = parsed({"params", "--json"});
    ASSERT_EQ(list.size(), 57u);
    const struct
    {
        std::size_t index;
        const char* title;
        const char* units;
        const char* text;
        const char* flag;
    } rows[] = {
        {0, "Bypass", "", "Off", "bypass"},
        {3, "1OGain", "dB", "0.0", "automatable"},
        {10, "1Freq2", "Hz", "125", "automatable"},
        {14, "1Mode3", "", "Off", "automatable"},
        {55, "2Dyn5", "%", "100", "automatable"},
        {56, "Program", "", "Default", "program"},
    };
    for (const auto& row : rows)
    {
        const json& one = list[row.index];
        EXPECT_EQ(one["title"], row.title);
        EXPECT_EQ(one["units"], row.units) << row.title;
        EXPECT_EQ(one["defaultText"], row.text) << row.title;
        EXPECT_NE(one["flags"].dump().find(row.flag), std::string::npos) << row.title;
    }
    const json set = parsed({"params", "--json", "--ext", "1Freq2=1k", "--ext", "1gain2=-3", "--program", "2"});
    EXPECT_EQ(set[10]["text"], "1.00k");
    EXPECT_EQ(set[12]["text"], "-3.0");
    EXPECT_EQ(set[56]["text"], "More Air");
}

TEST_F(Plugin, ExtSoundsAsSetDoes)
{
    const std::vector<double> in = readSound(path("in.wav")).samples;
    const Words loud = joined({band("mode", 1, "Peaking Plain"), band("gain", 1, "9"), withoutNoise()});
    const Words quiet = joined({band("mode", 1, "Peaking Plain"), band("gain", 1, "-9"), withoutNoise()});
    EXPECT_GT(largestDifference(rendered(loud), in), 0.1);
    EXPECT_LE(largestDifference(rendered(joined({{"--ext", "1Mode2=Peaking Plain", "--ext", "1Gain2=9"}, withoutNoise()})),
                                rendered(loud)), 1e-12);
    // --ext comes on top of --set, whatever their order.
    EXPECT_LE(largestDifference(rendered(joined({{"--ext", "1Gain2=-9"}, loud})), rendered(quiet)), 1e-12);
}

TEST_F(Plugin, ProgramsGoByNumberAndByName)
{
    const auto byNumber = rendered(joined({{"--program", "2"}, withoutNoise()}));
    EXPECT_EQ(rendered(joined({{"--program", "more air"}, withoutNoise()})), byNumber);
    EXPECT_NE(byNumber, rendered(withoutNoise()));
    EXPECT_EQ(rendered(joined({{"--state", MORVA_FACTORY_BANK, "--bank-program", "2"}, withoutNoise()})), byNumber);
}

TEST_F(Plugin, BlocksAndTailChangeNothingButTheLength)
{
    const Words settings = joined({fiveBands(), withoutNoise()});
    const auto plain = rendered(settings);
    const auto random = rendered(joined({settings, {"--block", "random:7", "--tail", "0.01"}}));
    ASSERT_EQ(random.size(), plain.size() + 2 * 480);
    for (std::size_t i = 0; i < plain.size(); ++i)
        ASSERT_NEAR(random[i], plain[i], 1e-12) << i;
    EXPECT_NE(random[plain.size()], 0.0) << "the filters ring on";
}

TEST_F(Plugin, DrivesOthersToo)
{
    writeBytes(path("table.csv"), "0,gain,0.5\n" "0.02,Gain,2\n");         // from sample 960 on
    const std::vector<double> in = readSound(path("in.wav")).samples;
    const std::vector<double> out =
        rendered({"--plugin", gain, "--automate", path("table.csv"), "--block", "random:1"});
    ASSERT_EQ(out.size(), in.size());
    for (std::size_t i = 0; i < in.size(); ++i)
        ASSERT_EQ(out[i], in[i] * (i / 2 < 960 ? 0.5 : 2.0)) << i;

    ASSERT_EQ(render({"--plugin", gain, "--ext", "Gain=0.25", "--save-state", path("kept")}).code, 0);
    EXPECT_EQ(rendered({"--plugin", gain, "--state", path("kept")})[0], 0.25 * in[0]);
}

TEST_F(Plugin, WrongUseIsOneLine)
{
    std::filesystem::create_directory(path("Hollow.vst3"));
    const struct
    {
        Words words;
        const char* form;
        int code;
        const char* says;
    } rows[] = {
        {{"--plugin", path("None.vst3")}, "", 1, "None.vst3': No such file"},
        {{"--plugin", path("in.wav")}, "", 1, "is no VST 3 bundle: it is a file"},
        {{"--plugin", path("Hollow.vst3")}, "", 1, "no folder Contents"},
        {{"--plugin", MORVA_FIXTURES "/Blank.vst3"}, "", 1, "its library has no GetPluginFactory"},
        {{"--plugin", "Nothing"}, "", 1, "there is no 'Nothing.vst3' in "},
        {{"--plugin", gain}, "asleep", 1, "does not start"},
        {{"--plugin", gain}, "empty", 1, "holds no audio effect"},
        {{"--plugin", gain}, "stubborn", 1, "takes no layout of 2 channels in and 2 out; --channels N asks for others"},
        {{"--plugin", gain}, "single", 1, "takes no samples in double precision"},
        {{"--plugin", gain, "--state", path("in.wav")}, "deaf", 1, "refuses the state"},
        {{"--plugin", gain, "--program", "1"}, "", 1, "has no programs"},
        {{"--plugin", gain, "--set", "x=1"}, "", 2, "--set is for the equalizer's own parameters"},
        {{"--plugin", gain, "--ext", "Gian=1"}, "", 2, "has no parameter 'Gian', did you mean 'Gain'?"},
        {{"--plugin", gain, "--ext", "Rate=1"}, "", 2, "'Rate' can only be read"},
        {{"--plugin", gain, "--ext", "Gain=loud"}, "", 2, "'loud' is no value for 'Gain'"},
        {{"--ext", "1Freqq1=1k"}, "", 2, "has no parameter '1Freqq1', did you mean '1Freq1'"},
        {{"--ext", "1Mode1=Peeking"}, "", 2, "'Peeking' is no value for '1Mode1'"},
        {{"--ext", "1Freq1"}, "", 2, "write NAME=TEXT"},
        {{"--channels", "9"}, "", 1, "'MorvaEQ' takes no layout of 9 channels in and 9 out"},
        {{"--program", "11"}, "", 2, "11 is outside 0 to 10"},
        {{"--program", "More Hair"}, "", 2, "did you mean 'More Air'"},
        {{"--block", "random:x"}, "", 2, "'x' is no seed"},
        {{"--tail", "-1"}, "", 2, "outside 0 to 3600"},
    };
    for (const auto& row : rows)
    {
        ::setenv("FIXTURE_FORM", row.form, 1);
        const CRun run = render(row.words, "fresh.wav");
        EXPECT_EQ(run.code, row.code) << row.says << run.err;
        EXPECT_EQ(run.errorLines(), 1) << run.err;
        EXPECT_NE(run.err.find(row.says), std::string::npos) << row.says << "\n" << run.err;
        EXPECT_FALSE(exists(path("fresh.wav"))) << row.says;
    }
}

// A run neither sees nor leaves anything in the user's own data.
TEST_F(Plugin, RunsHaveAStoreOfTheirOwn)
{
    const Words before = folderNames(data.user());
    rendered({"--set", "denorm-enable=0"});
    EXPECT_EQ(folderNames(data.user()), before);
}

TEST_F(Plugin, BenchMeasuresIt)
{
    const json bench = parsed({"bench", "--json"});
    for (const char* figure : {"moduleMs", "firstInstanceMs", "furtherInstanceMs", "instanceMegabytes", "idlePercent",
                               "busyPercent"})
        EXPECT_GT(bench[figure].get<double>(), 0.0) << figure;
    EXPECT_GT(bench["busyPercent"], bench["idlePercent"]);
}

}
