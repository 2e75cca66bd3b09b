// SPDX-License-Identifier: GPL-3.0-or-later
#include "HostFixture.h"

#include "Audio/Parameters/CAudioPresetBank.h"
#include "Support/CPresetContent.h"

#include <cmath>
#include <cstdio>

namespace kor::test
{

namespace
{

using nlohmann::json;

std::string plain(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.12g", value);
    return text;
}

// The programs of the bank that this build embeds, as morvahost draws them.
class FactoryPrograms : public HostTest
{
protected:
    void SetUp() override { ASSERT_FALSE(bank.loadFile(MORVA_FACTORY_BANK)); }

    std::size_t indexOf(const std::string& title) const
    {
        for (std::size_t i = 0; i < bank.size(); ++i)
            if (bank.preset(i).name().toUtf8() == "q7ne:" + title)
                return i;
        ADD_FAILURE() << "no program " << title;
        return 0;
    }

    const CAudioPreset& program(const std::string& title) const { return bank.preset(indexOf(title)); }

    json values(const std::string& title, const std::string& key) const
    {
        return valuesOf(program(title), "modMorvaEQ.eq-params." + key);
    }

    /// dB at each frequency.
    std::vector<double> curve(const std::string& title, int group, const std::vector<double>& at,
                              double rate = 48000.0) const
    {
        std::string list;
        for (const double hz : at)
            list += (list.empty() ? "" : ",") + plain(hz);
        const CRun run = runHost({"curve", "--json", "--state", MORVA_FACTORY_BANK, "--bank-program",
                                  std::to_string(indexOf(title)), "--group", std::to_string(group), "--rate",
                                  plain(rate), "--at", list});
        EXPECT_EQ(run.code, 0) << run.err;
        if (run.code != 0)
            return std::vector<double>(at.size(), NAN);
        return json::parse(run.out).at("db").get<std::vector<double>>();
    }

    CAudioPresetBank bank;
};

}

// What each name promises, as bounds of the curve in dB. Dynamic bands are drawn in full.
TEST_F(FactoryPrograms, DoWhatTheirNamesPromise)
{
    const struct
    {
        const char* program;
        int group;
        std::vector<double> at;
        double low;
        double high;
    } rows[] = {
        {"Default", 0, {20, 100, 1000, 10000, 20000}, 0, 0},
        {"Massive Warmer", 0, {60, 125, 250}, 2.5, 6},                          // weight
        {"Massive Warmer", 0, {3150, 8000, 16000}, -5, -2},                     // a darker top
        {"More Air", 0, {12000, 14000, 16000, 20000}, 4, 8},
        {"More Air", 0, {31.5, 100, 500, 1000, 2000}, -1.2, 0.5},               // and nothing else is lifted
        {"Ultimate Presence", 0, {3150, 4000, 5000}, 4, 6},
        {"Ultimate Presence", 0, {250, 315}, -4, -2},                           // what masks it
        {"Ultimate Presence", 0, {31.5, 80, 16000}, -0.5, 2},
        {"Acoustic Guitar", 0, {20, 31.5}, -40, -11},                           // rumble
        {"Acoustic Guitar", 0, {82.4}, -3, 0},                                  // the lowest string stays
        {"Acoustic Guitar", 0, {180, 200}, -6, -3.5},                           // boom
        {"Acoustic Guitar", 0, {4000, 5000, 12500}, 2, 5},                      // pick and strings
        {"Female Vocals", 0, {31.5, 50}, -80, -20},
        {"Female Vocals", 0, {175}, -2.5, 0},                                   // the lowest notes of an alto stay
        {"Female Vocals", 0, {3150, 4000}, 2, 4},                               // presence
        {"Female Vocals", 0, {7800}, -5, -2},                                   // esses
        {"Female Vocals", 0, {14000, 16000}, 1.5, 4},
        {"Male Vocals", 0, {20, 31.5}, -80, -20},
        {"Male Vocals", 0, {98}, -3, 0},                                        // as those of a baritone
        {"Male Vocals", 0, {2500, 2800}, 2, 4},
        {"Male Vocals", 0, {6200}, -5, -2},
        {"Male Vocals", 0, {14000, 16000}, 1.5, 4},
        {"Sibilance Enhancer", 0, {5500, 6300, 8000}, 4, 8},
        {"Sibilance Enhancer", 0, {31.5, 500, 2000, 16000}, 0, 0.5},            // only esses
        {"Wider Highs", 1, {10000, 12500, 16000}, 4, 6},                        // the side
        {"Wider Highs", 1, {31.5, 50}, -40, -12},                               // whose lows are the mid's
        {"Wider Highs", 0, {10000, 12500, 16000}, -1.2, -0.5},
        {"Wider Highs", 0, {31.5, 125, 1000}, -0.2, 0.2},
        {"Beef It Up!", 0, {50, 63, 80, 100}, 3.5, 6},
        {"Beef It Up!", 0, {20}, -12, 0},                                       // what only moves cones
        {"Beef It Up!", 0, {1000, 4000, 12500}, -0.5, 2},
    };
    for (const auto& row : rows)
    {
        const std::vector<double> db = curve(row.program, row.group, row.at);
        ASSERT_EQ(db.size(), row.at.size());
        for (std::size_t i = 0; i < db.size(); ++i)
            EXPECT_TRUE(db[i] >= row.low && db[i] <= row.high)
                << row.program << " has " << db[i] << " dB at " << row.at[i] << " Hz, not " << row.low << " to "
                << row.high;
    }
}

TEST_F(FactoryPrograms, TreatAllGroupsAlikeWhereNoneHasATaskOfItsOwn)
{
    for (std::size_t p = 0; p < bank.size(); ++p)
    {
        const std::string title = CAudioPreset::titleOf(bank.preset(p).name()).toUtf8();
        for (const char* key : {"band-count", "mode", "freq", "gain", "bw", "dyn"})
            for (const json& group : values(title, key))
                EXPECT_TRUE(title == "Wider Highs" || group == values(title, key)[0]) << title << ' ' << key;
    }
    EXPECT_EQ(valuesOf(program("Wider Highs"), "io-params.ms-pairs")[0], json({1, 1, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(valuesOf(program("Wider Highs"), "io-params.grouping")[0].get<std::vector<int>>()[1], 1);
}

// Esses are lifted when they are there, and only then: bands that open when their region, 5 to 9 kHz, dominates.
TEST_F(FactoryPrograms, SibilanceEnhancerListens)
{
    constexpr int peakingInv = 2;
    const std::size_t count = values("Sibilance Enhancer", "band-count")[0][0];
    EXPECT_GT(count, 0u);
    for (std::size_t e = 0; e < count; ++e)
    {
        EXPECT_EQ(values("Sibilance Enhancer", "mode")[0][e], peakingInv);
        EXPECT_GE(values("Sibilance Enhancer", "dyn")[0][e], 1.0);
        EXPECT_GE(values("Sibilance Enhancer", "freq")[0][e], 5000.0);
        EXPECT_LE(values("Sibilance Enhancer", "freq")[0][e], 9000.0);
    }
}

// ISO 226:2003, formula (1) and table 1: frequency, exponent of loudness perception, magnitude of the linear transfer
// function normalised at 1 kHz in dB, threshold of hearing in dB.
struct CHearing
{
    double hz;
    double alpha;
    double transfer;
    double threshold;

    /// Sound pressure level in dB of a pure tone of this loudness in phon.
    double level(double phon) const
    {
        const double a = 4.47e-3 * (std::pow(10.0, 0.025 * phon) - 1.15) +
                         std::pow(0.4 * std::pow(10.0, (threshold + transfer) / 10.0 - 9.0), alpha);
        return 10.0 / alpha * std::log10(a) - transfer + 94.0;
    }
};

const CHearing hearing[] = {
    {31.5, 0.480, -23.0, 59.5},  {40, 0.455, -19.1, 51.1},   {50, 0.432, -15.9, 44.0},  {63, 0.409, -13.0, 37.5},
    {80, 0.387, -10.3, 31.5},    {100, 0.367, -8.1, 26.5},   {125, 0.349, -6.2, 22.1},  {160, 0.330, -4.5, 17.9},
    {200, 0.315, -3.1, 14.4},    {250, 0.301, -2.0, 11.4},   {315, 0.288, -1.1, 8.6},   {400, 0.276, -0.4, 6.2},
    {500, 0.267, 0.0, 4.4},      {630, 0.259, 0.3, 3.0},     {800, 0.253, 0.5, 2.2},    {1000, 0.250, 0.0, 2.4},
    {1250, 0.246, -2.7, 3.5},    {1600, 0.244, -4.1, 1.7},   {2000, 0.243, -1.0, -1.3}, {2500, 0.243, 1.7, -4.2},
    {3150, 0.243, 2.5, -6.0},    {4000, 0.242, 1.2, -5.4},   {5000, 0.242, -2.1, -1.5}, {6300, 0.245, -7.1, 6.0},
    {8000, 0.254, -11.2, 12.6},  {10000, 0.271, -10.7, 13.9}, {12500, 0.301, -3.1, 12.3},
};

TEST_F(FactoryPrograms, FollowsTheEqualLoudnessContour)
{
    constexpr std::size_t oneKilohertz = 15;
    ASSERT_NEAR(hearing[0].level(40.0), 88.17, 0.01);       // as the standard prints it for 40 phon
    const std::string title = "ISO 226 at 80 dB approx";
    for (const json& group : values(title, "dyn"))
        EXPECT_EQ(group, json(std::vector<double>(group.size(), 0.0)));
    std::vector<double> at;
    for (const CHearing& row : hearing)
        at.push_back(row.hz);
    for (const double rate : {44100.0, 48000.0, 96000.0, 192000.0})
    {
        const std::vector<double> db = curve(title, 0, at, rate);
        for (std::size_t i = 0; i < at.size(); ++i)
            EXPECT_NEAR(db[i] - db[oneKilohertz], hearing[i].level(80.0) - hearing[oneKilohertz].level(80.0), 1.5)
                << at[i] << " Hz at " << rate;
    }
}

}
