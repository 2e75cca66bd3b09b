// SPDX-License-Identifier: GPL-3.0-or-later
// What a display sees of a recording that runs through the equalizer, as `analyse` tells and draws it and `watch` shows it.
#include "HostFixture.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kor::test
{
namespace
{

using nlohmann::json;
using Words = std::vector<std::string>;

constexpr int rate = 48000;
constexpr double step = rate / 2048.0;              // of the bins of a display that nobody has set
constexpr int bin = 40;

class HostAnalysis : public HostTest
{
protected:
    // Two seconds of a full-scale sine on a bin; the second channel at half of it.
    HostAnalysis()
    {
        CSound sound{.rate = rate, .channels = 2, .samples = {}};
        for (int i = 0; i < 2 * rate; ++i)
        {
            const double sample = std::sin(2.0 * std::numbers::pi * step * bin * i / rate);
            sound.samples.insert(sound.samples.end(), {sample, 0.5 * sample});
        }
        writeSound(path("sine.wav"), sound);
    }

    json analysed(const Words& more) const
    {
        const CRun run = runHost(joined({{"analyse", path("sine.wav"), "--json"}, more}));
        EXPECT_EQ(run.code, 0) << run.err;
        return run.code == 0 ? json::parse(run.out) : json();
    }
};

TEST_F(HostAnalysis, TellsSpectraLevelsAndControlSignals)
{
    const json plain = analysed({"--set", "modMorvaEQ.spectrum-params.type=Avg", "--set", "modOutGain.gain=-6"});
    ASSERT_EQ(plain["spectra"].size(), 2u);
    const double gain = 20.0 * std::log10(0.5);
    for (int c = 0; c < 2; ++c)
    {
        const json& spectrum = plain["spectra"][static_cast<std::size_t>(c)];
        EXPECT_EQ(spectrum["type"], "Avg");
        EXPECT_EQ(spectrum["step"], step);
        ASSERT_EQ(spectrum["db"].size(), 1025u);
        const json& db = spectrum["db"];
        // Its share of the mean that the first blocks, half silence, have is below a tenth of a dB.
        EXPECT_NEAR(db[bin], -3.0103 + c * gain - 6.0, 0.15);
        EXPECT_LT(db[3 * bin], -90.0);
        EXPECT_NEAR(spectrum["seconds"], 2.0, 0.1);
    }
    ASSERT_EQ(plain["output"].size(), 2u);
    for (int c = 0; c < 2; ++c)
    {
        const json& meter = plain["output"][static_cast<std::size_t>(c)];
        EXPECT_NEAR(static_cast<double>(meter["seconds"].size()), 60.0, 2.0);
        EXPECT_NEAR(meter["peak"].back(), -6.0 + c * gain, 0.1);
        EXPECT_NEAR(meter["level"].back(), -9.0 + c * gain, 1.0);
        // Averaged over three seconds from 0 dB on, it is on its way.
        const json& change = plain["change"][static_cast<std::size_t>(c)]["level"];
        EXPECT_LT(change.back(), -3.0);
        EXPECT_GT(change.front(), -0.5);
    }
    EXPECT_TRUE(plain["bands"].empty());

    const json dynamic = analysed(joined({band("mode", 3, "Peaking"), band("dyn", 3, "2"), band("freq", 3, "940"),
                                          {"--second", "--every", "0.5"}}));
    ASSERT_FALSE(dynamic["bands"].empty());
    EXPECT_EQ(dynamic["bands"][0]["band"], 3);
    EXPECT_GT(dynamic["bands"][0]["level"].size(), 50u);
    EXPECT_EQ(dynamic["spectra"].size(), 4u * 4u);
    EXPECT_EQ(std::ranges::count(dynamic["spectra"], json(true), [](const json& frame) { return frame["second"]; }), 8);

    // Nobody of this recording is in the other group.
    const json other = analysed({"--group", "1"});
    EXPECT_TRUE(other["spectra"].empty() && other["output"].empty());
}

TEST_F(HostAnalysis, DrawsForAReport)
{
    const Words draw = joined({{"analyse", path("sine.wav"), "--second"}, fiveBands(), {"--out", path("a.svg")}});
    ASSERT_EQ(runHost(draw).code, 0);
    const std::string picture = readBytes(path("a.svg"));
    EXPECT_TRUE(picture.starts_with("<svg ") && picture.ends_with("</svg>\n"));
    for (const char* words : {"second spectrum", "response", "output level", "4.5 dB per octave", ">1k<", ">20k<"})
        EXPECT_NE(picture.find(words), std::string::npos) << words;
    for (const char* broken : {"nan", "inf"})
        EXPECT_EQ(picture.find(broken), std::string::npos);
    EXPECT_EQ(runHost(draw).code, 1) << "written over";
    EXPECT_EQ(runHost(joined({draw, {"--force"}})).code, 0);
    EXPECT_EQ(readBytes(path("a.svg")), picture);
}

TEST_F(HostAnalysis, WatchOutsideATerminalIsALineASecond)
{
    const CRun run = runHost({"watch", path("sine.wav")});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(std::ranges::count(run.out, '\n'), 2);
    EXPECT_TRUE(std::ranges::all_of(run.out, [](char c) { return c == '\n' || (c >= ' ' && c < 0x7F); })) << run.out;
    EXPECT_NE(run.out.find("2.0 s   out 1"), std::string::npos) << run.out;
    EXPECT_NE(runHost({"watch", path("sine.wav"), "--group", "1"}).err.find("is in group 1"), std::string::npos);
}

TEST_F(HostAnalysis, EveryMistakeIsOneLine)
{
    const struct
    {
        Words words;
        int code;
    } rows[] = {
        {{"analyse", path("sine.wav")}, 2},
        {{"analyse", "--json"}, 2},
        {{"analyse", path("sine.wav"), "--json", "--out", path("a.svg")}, 2},
        {{"analyse", path("sine.wav"), "--out", path("a.png")}, 2},
        {{"analyse", path("sine.wav"), "--out", path("a.svg"), "--every", "1"}, 2},
        {{"analyse", path("sine.wav"), "--json", "--every", "0"}, 2},
        {{"analyse", path("sine.wav"), "--json", "--group", "8"}, 2},
        {{"analyse", path("none.wav"), "--json"}, 1},
        {{"analyse", path("sine.wav"), "--out", path("no/where.svg")}, 1},
        {{"watch"}, 2},
        {{"watch", path("none.wav")}, 1},
    };
    for (const auto& row : rows)
    {
        const CRun run = runHost(row.words);
        EXPECT_EQ(run.code, row.code) << run.err;
        EXPECT_EQ(run.errorLines(), 1) << run.err;
        EXPECT_EQ(run.out, "");
    }
    EXPECT_FALSE(exists(path("a.svg")));
}

}
}
