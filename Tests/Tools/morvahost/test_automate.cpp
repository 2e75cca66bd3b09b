// SPDX-License-Identifier: GPL-3.0-or-later
#include "HostFixture.h"

#include <cmath>
#include <cstdio>
#include <numbers>
#include <tuple>

namespace kor::test
{

namespace
{

constexpr std::size_t fadeSamples = 720;                // 15 ms at 48 kHz

class Automate : public HostTest
{
protected:
    /// Renders a constant of 1 through a table of changes.
    CRun render(const std::string& table, const std::vector<std::string>& more = {}, std::size_t frames = 4000)
    {
        CSound sound;
        sound.samples.assign(frames, 1.0);
        writeSound(path("in.wav"), sound);
        writeBytes(path("table.csv"), table);
        return runHost(joined({{"render", "--in", path("in.wav"), "--out", path("out.wav"), "--format", "f64",
                                "--double", "--force", "--automate", path("table.csv")}, withoutNoise(), more}));
    }

    std::vector<double> result() const { return readSound(path("out.wav")).samples; }
};

std::string seconds(double frame)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.17f", frame / 48000.0);
    return text;
}

// The gain behind a change at `frame`: a raised cosine from the old to the new.
double faded(std::size_t n, std::size_t frame, double from, double to)
{
    if (n <= frame)
        return from;
    if (n >= frame + fadeSamples)
        return to;
    const double c = 0.5 * std::cos(std::numbers::pi * static_cast<double>(n - frame) / fadeSamples);
    return (0.5 + c) * from + (0.5 - c) * to;
}

}

TEST_F(Automate, ChangesBeginAtTheirSampleWhateverTheBlocks)
{
    const double low = std::pow(10.0, -6.0 / 20.0);
    const double high = std::pow(10.0, 4.0 / 20.0);
    for (const char* block : {"1", "100", "65536"})
        for (const std::size_t frame : {1u, 511u, 512u, 513u})
        {
            SCOPED_TRACE(std::string("--block ") + block + ", change at " + std::to_string(frame));
            const CRun run = render(seconds(static_cast<double>(frame)) + ",modOutGain.gain[0,0],-6\n" +
                                        seconds(static_cast<double>(frame + 1234)) + ",modOutGain.gain,4\n",
                                    {"--block", block});
            ASSERT_EQ(run.code, 0) << run.err;
            const std::vector<double> samples = result();
            ASSERT_EQ(samples.size(), 4000u);
            for (std::size_t n = 0; n < samples.size(); ++n)
                ASSERT_NEAR(samples[n], faded(n, frame, 1.0, low) * faded(n, frame + 1234, 1.0, high / low), 1e-9) << n;
        }
}

TEST_F(Automate, ChangesAtZeroAreThereFromTheStart)
{
    const CRun run = render("0,modOutGain.phaseinvert,On\n", {"--set", "modOutGain.phaseinvert=Off"});
    ASSERT_EQ(run.code, 0) << run.err;
    for (const double sample : result())
        ASSERT_EQ(sample, -1.0);
}

// All ways of writing the same change.
TEST_F(Automate, ReadsWhatSpreadsheetsWrite)
{
    const std::string time = seconds(1000);
    const std::string change = time + ",modOutGain.gain[0,0],-6\n";
    ASSERT_EQ(render(change).code, 0);
    const std::vector<double> plain = result();
    EXPECT_EQ(plain[900], 1.0);
    EXPECT_NEAR(plain[3000], std::pow(10.0, -6.0 / 20.0), 1e-10);
    const std::string later = seconds(2000) + ",modOutGain.gain,-12\n";
    const std::string tables[] = {
        time + ",\"modOutGain.gain[0,0]\",\"-6\"\r\n",
        "\xEF\xBB\xBF\"Time\",\"Key\",\"Value\"\r\n\r\n\"" + time + "\",\"modOutGain.gain\",\"-6\"",
        "# a comment, with commas\n\n  # another\n  " + time + " ,  modOutGain.gain[0,0] , -6  ",
        change + "0,instance-name,\"a \"\"b\"\", c\"\n",
        time + ",1OGain,-6\n",                         // what a host calls it
        later + change,
        // Of two rows of one time the second holds.
        time + ",modOutGain.gain,3\n" + change,
    };
    for (const std::string& table : tables)
    {
        const CRun run = render(table);
        ASSERT_EQ(run.code, 0) << table << run.err;
        const std::vector<double> samples = result();
        for (std::size_t n = 0; n < 2000; ++n)
            ASSERT_NEAR(samples[n], plain[n], 1e-10) << table << n;
    }
}

TEST_F(Automate, SaysWhatItHadToChange)
{
    const CRun run = render("0.01,modOutGain.gain,99\n9,modOutGain.gain,1\n");
    EXPECT_EQ(run.code, 0);
    EXPECT_NE(run.err.find("table.csv:1: modOutGain.gain[0,0]: '99' is outside its range; 12.0 dB is taken"),
              std::string::npos) << run.err;
    EXPECT_NE(run.err.find("1 of the changes are behind the end"), std::string::npos) << run.err;
    EXPECT_NEAR(result().back(), std::pow(10.0, 12.0 / 20.0), 1e-9);

    std::string many;
    for (int i = 0; i < 50; ++i)
        many += "0.01,modOutGain.gain,99\n";
    const CRun crowd = render(many);
    EXPECT_EQ(crowd.errorLines(), 4) << crowd.err;
    EXPECT_NE(crowd.err.find("47 more values"), std::string::npos) << crowd.err;
}

TEST_F(Automate, RefusesRowsThatMeanNothing)
{
    const std::tuple<const char*, int, const char*> cases[] = {
        {"\n# x\n1,modOutGain.gain,1,2\n", 3, "4 fields"},
        {"seconds,key,value\nseconds,key,value\n", 2, "'seconds' is no time"},
        {"1.5s,modOutGain.gain,1\n", 1, "'1.5s' is no time; write seconds, 0 to 1000000"},
        {",modOutGain.gain,1\n", 1, "'' is no time"},
        {"-0.5,modOutGain.gain,1\n", 1, "'-0.5' is no time"},
        {"nan,modOutGain.gain,1\n", 1, "'nan' is no time"},
        {"1e999,modOutGain.gain,1\n", 1, "'1e999' is no time"},
        {"1,modOutGain.gian,1\n", 1, "did you mean 'modOutGain.gain'"},
        {"1,modOutGain.gain[0,1\n", 1, "2 fields"},
        {"0,modOutGain.mute,On\n1,modOutGain.mute,Off\n", 2, "modOutGain.mute[0,0]: no host parameter stands for it"},
        {"1,modOutGain.gain[2,0],1\n", 1, "modOutGain.gain[2,0]: no host parameter stands for it"},
        {"0,denorm-enable,0\n", 1, "denorm-enable[0,0]: all instances share it; give it by --set"},
        {"1,1OGain,loud\n", 1, "'loud' is no value for '1OGain'"},
        {"1,modOutGain.gain,1\n2,modOutGain.gain,loud\n", 2, "'loud' is no value for it; write a number from"},
        {"1,\"modOutGain.gain,1\n", 1, "a quote is not closed"},
        {"1,\"modOutGain.gain\"x,1\n", 1, "behind a closing quote"},
    };
    for (const auto& [table, line, text] : cases)
    {
        const CRun run = render(table);
        EXPECT_EQ(run.code, 1) << table << run.err;
        EXPECT_EQ(run.errorLines(), 1) << table << run.err;
        EXPECT_NE(run.err.find("table.csv:" + std::to_string(line) + ": "), std::string::npos) << table << run.err;
        EXPECT_NE(run.err.find(text), std::string::npos) << table << run.err;
        EXPECT_FALSE(exists(path("out.wav"))) << table;
    }
}

}
