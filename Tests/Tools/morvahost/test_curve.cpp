// SPDX-License-Identifier: GPL-3.0-or-later
#include "HostFixture.h"
#include "Support/ReferenceCases.h"

#include <cmath>
#include <cstdio>
#include <sstream>

namespace kor::test
{

namespace
{

using Curve = HostTest;

std::string plain(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.17f", value);
    return text;
}

nlohmann::json curveOf(const std::vector<std::string>& arguments)
{
    std::vector<std::string> words = {"curve", "--json"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const CRun run = runHost(words);
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.err, "");
    return nlohmann::json::parse(run.out, nullptr, false);
}

}

TEST_F(Curve, OfEveryModeIsTheReference)
{
    int compared = 0;
    for (const nlohmann::json& t : referenceCases("band_modes", "design"))
    {
        if (!t["out"].contains("db"))
            continue;
        const nlohmann::json& in = t["in"];
        const double gain = in["gain"];
        std::string frequencies;
        for (const double hz : in["freqs"])
            frequencies += (frequencies.empty() ? "" : ",") + plain(hz);
        const auto drawn = curveOf(joined({{"--rate", plain(in["sr"]), "--at", frequencies},
                                           band("mode", 2, std::to_string(in["mode"].get<int>())),
                                           band("freq", 2, plain(in["freq"])), band("bw", 2, plain(in["bw"])),
                                           band("gain", 2, plain(20.0 * std::log10(gain)))}));
        ASSERT_TRUE(drawn.is_object()) << t["id"];
        expectSequence(t, drawn["db"].get<std::vector<double>>(), t["out"]["db"], decibelTolerance, "dB");
        ++compared;
    }
    EXPECT_GT(compared, 40);
}

TEST_F(Curve, OfTheChainIsTheSumOfItsBands)
{
    const auto drawn = curveOf(fiveBands());
    ASSERT_EQ(drawn["bands"].size(), 5u);
    ASSERT_EQ(drawn["freq"].size(), 400u);
    EXPECT_EQ(drawn["freq"][399], 20000.0);
    for (std::size_t i = 0; i < 400; ++i)
    {
        double sum = 0.0;
        for (const auto& one : drawn["bands"])
            sum += one["db"][i].get<double>();
        ASSERT_NEAR(drawn["db"][i].get<double>(), sum, 1e-9) << drawn["freq"][i];
        const double hz = 20.0 * std::pow(1000.0, static_cast<double>(i) / 399.0);
        ASSERT_NEAR(drawn["freq"][i].get<double>() / hz, 1.0, 1e-12);
    }
}

TEST_F(Curve, IsFlatWithoutBandsAndNullWhereNothingPasses)
{
    const auto flat = curveOf({});
    for (const auto& db : flat["db"])
        EXPECT_EQ(db, 0.0);
    const auto blocked = curveOf(joined({{"--at", "0,1000"}, band("mode", 0, "Hi-pass 12")}));
    EXPECT_TRUE(blocked["db"][0].is_null());
    EXPECT_NEAR(blocked["db"][1].get<double>(), 0.0, 0.1);
}

TEST_F(Curve, HasAsManyBandsAsTheGroup)
{
    const auto settings = joined({{"--at", "2k", "--group", "1"}, {"--set", "modMorvaEQ.eq-params.band-count[1,0]=7"},
                                  band("mode", 6, "Peaking Plain", 1), band("freq", 6, "2k", 1),
                                  band("gain", 6, "5", 1), band("mode", 6, "Notch", 2)});
    const CRun run = runHost(joined({{"curve", "--json"}, settings}));
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_NE(run.err.find("group 2 has 5 bands, so band 6 is not heard"), std::string::npos) << run.err;
    EXPECT_EQ(run.errorLines(), 1) << run.err;
    const auto drawn = nlohmann::json::parse(run.out);
    ASSERT_EQ(drawn["bands"].size(), 1u);
    EXPECT_EQ(drawn["bands"][0]["element"], 6);
    EXPECT_NEAR(drawn["db"][0].get<double>(), 5.0, 1e-6);
}

TEST_F(Curve, WritesTheSameNumbersAsTable)
{
    const auto settings = joined({{"--at", "100,1000,10000"}, band("mode", 0, "Lo-pass 24"), band("freq", 0, "500")});
    const auto drawn = curveOf(settings);
    ASSERT_EQ(runHost(joined({{"curve", "--out", path("x.csv")}, settings})).code, 0);
    std::istringstream table(readBytes(path("x.csv")));
    std::string line;
    std::getline(table, line);
    EXPECT_EQ(line, "freq,db,band0");
    for (std::size_t i = 0; i < 3; ++i)
    {
        double hz = 0.0;
        double db = 0.0;
        double own = 0.0;
        std::getline(table, line);
        ASSERT_EQ(std::sscanf(line.c_str(), "%lf,%lf,%lf", &hz, &db, &own), 3) << line;
        EXPECT_EQ(hz, drawn["freq"][i].get<double>());
        EXPECT_EQ(db, drawn["db"][i].get<double>());
        EXPECT_EQ(own, db);
    }
    EXPECT_FALSE(std::getline(table, line));
}

// The picture is text: the same settings give the same bytes, the frame holds all of it, each band has its mark.
TEST_F(Curve, PictureIsWholeAndRepeatable)
{
    const auto settings = fiveBands();
    ASSERT_EQ(runHost(joined({{"curve", "--out", path("a.svg")}, settings})).code, 0);
    ASSERT_EQ(runHost(joined({{"curve", "--out", path("b.svg")}, settings})).code, 0);
    const std::string picture = readBytes(path("a.svg"));
    EXPECT_EQ(picture, readBytes(path("b.svg")));
    EXPECT_EQ(picture.rfind("<svg ", 0), 0u);
    EXPECT_EQ(picture.substr(picture.size() - 7), "</svg>\n");
    for (const char* text : {">20<", ">1k<", ">20k<", ">Peaking", "Lo-shelf", "1.00k Hz", "-12.0 dB", ">5</text>"})
        EXPECT_NE(picture.find(text), std::string::npos) << text;
    EXPECT_EQ(picture.find("nan"), std::string::npos);
}

}
