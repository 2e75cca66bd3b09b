// SPDX-License-Identifier: GPL-3.0-or-later
#include "HostFixture.h"

#include <nlohmann/json.hpp>
#include <sndfile.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <sys/stat.h>

namespace kor::test
{

namespace
{

using Render = HostTest;

double largestDifference(const std::vector<double>& a, const std::vector<double>& b)
{
    if (a.size() != b.size())
        return HUGE_VAL;
    double largest = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i)
        largest = std::max(largest, std::abs(a[i] - b[i]));
    return largest;
}

struct CFormatCase
{
    const char* name;
    int input;              // the library's format of the recording
    int output;             // and of the result
};

const CFormatCase formatCases[] = {
    {"f32", SF_FORMAT_WAV | SF_FORMAT_FLOAT, SF_FORMAT_WAV | SF_FORMAT_FLOAT},
    {"s16", SF_FORMAT_WAV | SF_FORMAT_PCM_16, SF_FORMAT_WAV | SF_FORMAT_PCM_16},
    {"s24", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, SF_FORMAT_WAV | SF_FORMAT_PCM_24},
    {"s24", SF_FORMAT_AIFF | SF_FORMAT_PCM_24, SF_FORMAT_WAV | SF_FORMAT_PCM_24},
    {"s32", SF_FORMAT_RF64 | SF_FORMAT_PCM_32, SF_FORMAT_WAV | SF_FORMAT_PCM_32},
    {"f64", SF_FORMAT_WAV | SF_FORMAT_DOUBLE, SF_FORMAT_WAV | SF_FORMAT_DOUBLE},
    {"f32", SF_FORMAT_AU | SF_FORMAT_PCM_16, SF_FORMAT_WAV | SF_FORMAT_FLOAT},
};

}

TEST_F(Render, WithoutSettingsEveryFormatComesOutBitForBit)
{
    for (const CFormatCase& t : formatCases)
    {
        SCOPED_TRACE(std::string(t.name) + " from " + std::to_string(t.input));
        CSound sound = noise(2, 3001, 44100, 1.0);
        sound.samples[10] = -1.0;                       // the largest negative step of an integer format
        writeSound(path("in"), sound, t.input);
        const CRun run = runHost({"render", "--in", path("in"), "--out", path("out.wav"), "--format", t.name, "--double",
                                  "--force"});
        ASSERT_EQ(run.code, 0) << run.err;
        int format = 0;
        const CSound result = readSound(path("out.wav"), &format);
        EXPECT_EQ(format, t.output);
        EXPECT_EQ(result.rate, 44100);
        EXPECT_EQ(result.channels, 2);
        EXPECT_EQ(result.samples, readSound(path("in")).samples);
    }
}

TEST_F(Render, IsTheSameForEveryBlockSize)
{
    writeSound(path("in.wav"), noise(2, 20000));
    std::vector<double> first;
    for (const char* block : {"1", "17", "64", "512", "4096", "65536"})
    {
        const CRun run = runHost(joined({{"render", "--in", path("in.wav"), "--out", path("out.wav"), "--format", "f64",
                                          "--double", "--force", "--block", block}, fiveBands()}));
        ASSERT_EQ(run.code, 0) << run.err;
        const CSound result = readSound(path("out.wav"));
        if (first.empty())
        {
            first = result.samples;
            EXPECT_GT(largestDifference(first, readSound(path("in.wav")).samples), 0.1) << "nothing was equalized";
        }
        EXPECT_LE(largestDifference(result.samples, first), 1e-12) << "--block " << block;
    }
}

TEST_F(Render, WithoutDoubleTheBorderIsSinglePrecision)
{
    CSound sound = noise(1, 1000);
    writeSound(path("in.wav"), sound);
    ASSERT_EQ(runHost({"render", "--in", path("in.wav"), "--out", path("out.wav"), "--format", "f64"}).code, 0);
    for (double& sample : sound.samples)
        sample = static_cast<float>(sample);
    EXPECT_EQ(readSound(path("out.wav")).samples, sound.samples);
}

// An impulse makes the chain tell its response, which has to be the drawn one.
TEST_F(Render, OfAnImpulseHasTheMagnitudeOfTheCurve)
{
    CSound impulse;
    constexpr std::size_t start = 4800;                 // behind the fades of the first settings
    impulse.samples.assign(start + 48000, 0.0);
    impulse.samples[start] = 1.0;
    writeSound(path("in.wav"), impulse);
    for (const char* mode : {"Off", "Peaking", "Peaking Inv", "Peaking Hrm", "Peaking Plain", "Lo-shelf", "Hi-shelf",
                             "Lo-pass 12", "Hi-pass 12", "Lo-pass 24", "Hi-pass 24", "Notch", "Notch 4", "Notch 8",
                             "Peaking 4", "Peaking 8", "Bandpass", "Lo-pass 6", "Hi-pass 6"})
    {
        SCOPED_TRACE(mode);
        const auto settings = joined({band("mode", 1, mode), band("freq", 1, "900"), band("gain", 1, "7.5"),
                                      band("bw", 1, "1.3")});
        const CRun run = runHost(joined({{"render", "--in", path("in.wav"), "--out", path("out.wav"), "--format", "f64",
                                          "--double", "--force"}, settings}));
        ASSERT_EQ(run.code, 0) << run.err;
        const std::vector<double> output = readSound(path("out.wav")).samples;
        ASSERT_EQ(output.size(), impulse.samples.size());

        const CRun curve = runHost(joined({{"curve", "--json", "--at", "50,300,901,950,4000,15k"}, settings}));
        ASSERT_EQ(curve.code, 0) << curve.err;
        const auto drawn = nlohmann::json::parse(curve.out);
        for (std::size_t i = 0; i < drawn["freq"].size(); ++i)
        {
            const double step = 2.0 * std::numbers::pi * drawn["freq"][i].get<double>() / 48000.0;
            std::complex<double> sum = 0.0;
            for (std::size_t n = start; n < output.size(); ++n)
                sum += output[n] * std::polar(1.0, -step * static_cast<double>(n - start));
            const double db = 20.0 * std::log10(std::abs(sum));
            EXPECT_NEAR(db, drawn["db"][i].get<double>(), 1e-6) << drawn["freq"][i] << " Hz";
        }
    }
}

TEST_F(Render, KeepsRateAndChannelsAndGivesEachGroupItsOwnBands)
{
    const CSound sound = noise(8, 6000, 96000);
    writeSound(path("in.wav"), sound);
    // Channels 2 and 3 are group 1.
    const CRun run = runHost(joined({{"render", "--in", path("in.wav"), "--out", path("out.wav"), "--format", "f64",
                                      "--double"}, band("mode", 0, "Peaking", 1), band("gain", 0, "20", 1)}));
    ASSERT_EQ(run.code, 0) << run.err;
    const CSound result = readSound(path("out.wav"));
    EXPECT_EQ(result.rate, 96000);
    ASSERT_EQ(result.channels, 8);
    ASSERT_EQ(result.frames(), sound.frames());
    for (std::size_t c = 0; c < 8; ++c)
    {
        double difference = 0.0;
        for (std::size_t i = 0; i < sound.frames(); ++i)
            difference = std::max(difference, std::abs(result.samples[i * 8 + c] - sound.samples[i * 8 + c]));
        if (c == 2 || c == 3)
            EXPECT_GT(difference, 0.01) << "channel " << c;
        else
            EXPECT_EQ(difference, 0.0) << "channel " << c;
    }
}

TEST_F(Render, TellsWhatItDidInOneLine)
{
    writeSound(path("in.wav"), noise(1, 48000));
    const CRun run = runHost({"render", "--in", path("in.wav"), "--out", path("out.wav")});
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_NE(run.out.find("1 channel, 48000 Hz, 1.0 s"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("times real time\n"), std::string::npos) << run.out;
    EXPECT_EQ(folderNames(folder), (std::vector<std::string>{"in.wav", "out.wav"}));
    EXPECT_EQ(readBytes(path("out.wav")).find("PEAK"), std::string::npos) << "the chunk that holds the time of day";
}

TEST_F(Render, SaysWhatItHadToChange)
{
    struct CNoteCase
    {
        std::vector<std::string> arguments;
        const char* text;
    };
    CSound sound = noise(1, 4000);
    sound.samples[7] = NAN;
    sound.samples[8] = -HUGE_VAL;
    writeSound(path("nan.wav"), sound);
    writeSound(path("in.wav"), noise(1, 4000, 48000, 0.9));
    const CNoteCase cases[] = {
        {band("gain", 0, "99"), "eq-params.gain[0,0]: '99' is outside its range; 30.0 dB is taken"},
        {band("freq", 3, "1"), "eq-params.freq[0,3]: '1' is outside its range; 20.0 Hz is taken"},
        {band("bw", 0, "-2"), "'-2' is outside its range; 0.01 Oct is taken"},
        {band("mode", 0, "Peaking", 3), "no channel of this recording is in group 3"},
        {joined({band("mode", 0, "Peaking"), band("gain", 0, "20"), {"--format", "s16"}}), "above full scale"},
        {{"--in", path("nan.wav")}, "2 samples of the recording are not finite"},
    };
    for (const CNoteCase& t : cases)
    {
        SCOPED_TRACE(t.text);
        std::vector<std::string> arguments = {"render", "--out", path("out.wav"), "--force"};
        if (t.arguments[0] != "--in")
            arguments.insert(arguments.end(), {"--in", path("in.wav")});
        const CRun run = runHost(joined({arguments, t.arguments}));
        EXPECT_EQ(run.code, 0);
        EXPECT_NE(run.err.find(t.text), std::string::npos) << run.err;
        EXPECT_EQ(run.errorLines(), 1) << run.err;
        for (const double sample : readSound(path("out.wav")).samples)
            ASSERT_TRUE(std::isfinite(sample));
    }
}

TEST_F(Render, ForceReplacesTheTargetOfALinkAndKeepsItsRights)
{
    writeSound(path("in.wav"), noise(1, 100));
    writeBytes(path("target"), "old");
    ASSERT_EQ(::chmod(path("target").c_str(), 0640), 0);
    std::filesystem::create_symlink("target", path("out.wav"));
    const CRun run = runHost({"render", "--in", path("in.wav"), "--out", path("out.wav"), "--force"});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_TRUE(std::filesystem::is_symlink(path("out.wav")));
    EXPECT_EQ(readSound(path("target")).frames(), 100u);
    struct stat found = {};
    ASSERT_EQ(::stat(path("target").c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777u, 0640u);
}

}
