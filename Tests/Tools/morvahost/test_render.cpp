// SPDX-License-Identifier: GPL-3.0-or-later
#include "HostFixture.h"

#include <nlohmann/json.hpp>
#include <sndfile.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <set>
#include <sys/stat.h>

namespace kor::test
{

namespace
{

class Render : public HostTest
{
protected:
    /// Renders in.wav into out.wav in 64-bit floating point throughout.
    CRun render(const std::vector<std::string>& more)
    {
        return runHost(joined({{"render", "--in", path("in.wav"), "--out", path("out.wav"), "--format", "f64",
                                "--double", "--force"}, more}));
    }

    CSound result() const { return readSound(path("out.wav")); }
};

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
        const CRun run = runHost(joined({{"render", "--in", path("in"), "--out", path("out.wav"), "--format", t.name,
                                          "--double", "--force"}, withoutNoise()}));
        ASSERT_EQ(run.code, 0) << run.err;
        int format = 0;
        const CSound rendered = readSound(path("out.wav"), &format);
        EXPECT_EQ(format, t.output);
        EXPECT_EQ(rendered.rate, 44100);
        EXPECT_EQ(rendered.samples, readSound(path("in")).samples);
    }
}

TEST_F(Render, IsTheSameForEveryBlockSize)
{
    writeSound(path("in.wav"), noise(2, 20000));
    std::vector<double> first;
    for (const char* block : {"1", "17", "64", "512", "4096", "65536"})
    {
        const CRun run = render(joined({{"--block", block}, fiveBands()}));
        ASSERT_EQ(run.code, 0) << run.err;
        if (first.empty())
            first = result().samples;
        EXPECT_LE(largestDifference(result().samples, first), 1e-12) << "--block " << block;
    }
    EXPECT_GT(largestDifference(first, readSound(path("in.wav")).samples), 0.1) << "nothing was equalized";
}

TEST_F(Render, WithoutDoubleTheBorderIsSinglePrecision)
{
    CSound sound = noise(1, 1000);
    writeSound(path("in.wav"), sound);
    ASSERT_EQ(runHost(joined({{"render", "--in", path("in.wav"), "--out", path("out.wav"), "--format", "f64"},
                              withoutNoise()})).code, 0);
    for (double& sample : sound.samples)
        sample = static_cast<float>(sample);
    EXPECT_EQ(readSound(path("out.wav")).samples, sound.samples);
}

// An impulse makes the chain tell its response, which has to be the drawn one: without dynamics a band is its filter.
TEST_F(Render, OfAnImpulseHasTheMagnitudeOfTheCurve)
{
    CSound impulse;
    constexpr std::size_t start = 4800;                 // behind the fades of the first settings
    impulse.samples.assign(start + 48000, 0.0);
    impulse.samples[start] = 1.0;
    writeSound(path("in.wav"), impulse);
    for (const char* mode : {"Off", "Peaking", "Peaking Plain", "Lo-shelf", "Hi-shelf",
                             "Lo-pass 12", "Hi-pass 12", "Lo-pass 24", "Hi-pass 24", "Notch", "Notch 4", "Notch 8",
                             "Peaking 4", "Peaking 8", "Bandpass", "Lo-pass 6", "Hi-pass 6"})
    {
        SCOPED_TRACE(mode);
        const auto settings = joined({band("mode", 1, mode), band("freq", 1, "900"), band("gain", 1, "7.5"),
                                      band("bw", 1, "1.3"), band("dyn", 1, "0"), withoutNoise()});
        const CRun run = render(settings);
        ASSERT_EQ(run.code, 0) << run.err;
        const std::vector<double> output = result().samples;
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

TEST_F(Render, GivesEachGroupItsOwnBands)
{
    const CSound sound = noise(8, 6000, 96000);
    writeSound(path("in.wav"), sound);
    const CRun run = render(joined({band("mode", 0, "Peaking Plain", 1), band("gain", 0, "20", 1), withoutNoise(),
                                   {"--set", "io-params.grouping[0,2]=1", "--set", "io-params.grouping[0,3]=1"}}));
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(result().rate, 96000);
    const std::vector<double> samples = result().samples;
    ASSERT_EQ(samples.size(), sound.samples.size());
    std::set<std::size_t> changed;
    for (std::size_t i = 0; i < samples.size(); ++i)
        if (samples[i] != sound.samples[i])
            changed.insert(i % 8);
    EXPECT_EQ(changed, (std::set<std::size_t>{2, 3}));          // group 1
}

// What comes out of a channel that nobody touches is what went in, wherever it stands in the file.
TEST_F(Render, RoutesChannelByChannel)
{
    struct CRoutingCase
    {
        int channels;                   // of the recording
        std::vector<std::string> arguments;
        std::vector<int> sources;       // which channel of the recording each of the result is; -1: silence
        const char* note;               // null: none
    };
    const CRoutingCase cases[] = {
        {1, {}, {0}, nullptr},
        {8, {}, {0, 1, 2, 3, 4, 5, 6, 7}, nullptr},
        {10, {"--channels", "8"}, {0, 1, 2, 3, 4, 5, 6, 7, -1, -1}, "so they are silent: 9, 10"},
        {3, {"--channels", "2"}, {0, 1, -1}, "so they are silent: 3"},
        {2, {"--channels", "1"}, {0, 0}, nullptr},
        {2, {"--channels", "8"}, {0, 1}, nullptr},
        {1, {"--channels", "2"}, {0}, nullptr},
        {3, {"--set", "io-params.out-routing[0,0]=3"}, {2, 1, 2}, nullptr},
        {8, {"--set", "io-params.in-routing[0,0]=0", "--set", "io-params.in-routing[0,7]=1"},
         {7, 1, 2, 3, 4, 5, 6, -1}, nullptr},
    };
    for (const CRoutingCase& t : cases)
    {
        const CSound sound = noise(t.channels, 700);
        writeSound(path("in.wav"), sound);
        const CRun run = render(joined({t.arguments, withoutNoise()}));
        SCOPED_TRACE(run.err + std::to_string(t.channels) + " channels");
        ASSERT_EQ(run.code, 0);
        EXPECT_EQ(run.errorLines(), t.note != nullptr ? 1 : 0);
        EXPECT_NE(run.err.find(t.note != nullptr ? t.note : ""), std::string::npos);
        ASSERT_EQ(result().channels, t.channels);
        std::vector<double> expected;
        for (std::size_t i = 0; i < sound.frames(); ++i)
            for (const int source : t.sources)
                expected.push_back(source < 0 ? 0.0 : sound.samples[i * static_cast<std::size_t>(t.channels) +
                                                                   static_cast<std::size_t>(source)]);
        EXPECT_EQ(result().samples, expected);
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
    CSound sound = noise(1, 4000);
    sound.samples[7] = NAN;
    sound.samples[8] = -HUGE_VAL;
    writeSound(path("nan.wav"), sound);
    writeSound(path("in.wav"), noise(1, 4000, 48000, 0.9));
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {band("gain", 0, "99"), "eq-params.gain[0,0]: '99' is outside its range; 30.0 dB is taken"},
        {band("freq", 3, "1"), "eq-params.freq[0,3]: '1' is outside its range; 20.0 Hz is taken"},
        {band("mode", 0, "Peaking", 3), "no channel of this recording is in group 3"},
        {joined({band("mode", 0, "Peaking Plain"), band("gain", 0, "20"), {"--format", "s16"}}), "above full scale"},
        {band("freq", 7, "1k"), "group 0 has 5 bands, so band 7 is not heard"},
        {{}, "2 samples of the recording are not finite"},
    };
    for (const auto& [arguments, text] : cases)
    {
        const std::string in = arguments.empty() ? "nan.wav" : "in.wav";
        const CRun run =
            runHost(joined({{"render", "--in", path(in), "--out", path("out.wav"), "--force"}, arguments}));
        EXPECT_EQ(run.code, 0) << text;
        EXPECT_NE(run.err.find(text), std::string::npos) << run.err;
        EXPECT_EQ(run.errorLines(), 1) << run.err;
        for (const double sample : result().samples)
            ASSERT_TRUE(std::isfinite(sample)) << text;
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
