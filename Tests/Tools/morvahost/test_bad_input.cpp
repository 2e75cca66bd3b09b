// SPDX-License-Identifier: GPL-3.0-or-later
#include "HostFixture.h"

#include <sndfile.h>

#include <csignal>
#include <functional>
#include <thread>
#include <unistd.h>

namespace kor::test
{

namespace
{

constexpr int failed = 1;
constexpr int wrongUsage = 2;

/// What is given, and what the refusal has to say.
using CTextCase = std::pair<const char*, const char*>;

class BadInput : public HostTest
{
protected:
    BadInput() { writeSound(path("good.wav"), noise(2, 500)); }

    /// The good recording, cut to `size` bytes.
    void cut(const std::string& name, std::size_t size)
    {
        writeBytes(path(name), readBytes(path("good.wav")).substr(0, size));
    }

    /// The folder's names with the contents of those that are files.
    std::vector<std::pair<std::string, std::string>> contents() const
    {
        std::vector<std::pair<std::string, std::string>> all;
        for (const std::string& name : folderNames(folder))
            all.emplace_back(name, std::filesystem::is_regular_file(path(name)) ? readBytes(path(name)) : "");
        return all;
    }

    /// Runs and checks: the exit code, one line that holds `text`, and that the folder is as before.
    void expectRefused(const std::vector<std::string>& arguments, int code, const std::string& text)
    {
        const auto before = contents();
        const CRun run = runHost(arguments);
        std::string line;
        for (const std::string& word : arguments)
            line += word + ' ';
        EXPECT_EQ(run.code, code) << line << run.err;
        EXPECT_EQ(run.errorLines(), 1) << line << run.err;
        EXPECT_EQ(run.err.rfind("morvahost: ", 0), 0u) << line << run.err;
        EXPECT_NE(run.err.find(text), std::string::npos) << line << run.err;
        EXPECT_EQ(run.out, "") << line;
        EXPECT_TRUE(before == contents()) << line << "changed files";
    }
};

}

TEST_F(BadInput, RecordingsThatAreNone)
{
    std::filesystem::create_directory(path("folder.wav"));
    writeBytes(path("empty.wav"), "");
    writeBytes(path("text.wav"), "This is no sound at all.\nBut it has the name of one.\n");
    writeBytes(path("header.wav"), "RIFF");
    const std::size_t whole = readBytes(path("good.wav")).size();
    cut("cut1.wav", whole - 1);
    cut("cut2.wav", 60);
    cut("cut3.wav", 13);
    writeSound(path("good.flac"), noise(2, 20000), SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    writeBytes(path("cut.flac"), readBytes(path("good.flac")).substr(0, 20000));
    writeSound(path("good.rf64"), noise(2, 500), SF_FORMAT_RF64 | SF_FORMAT_PCM_16);
    writeBytes(path("cut.rf64"), readBytes(path("good.rf64")).substr(0, 1000));
    std::string header = readBytes(path("good.wav"));
    header[22] = 0;
    writeBytes(path("nochannel.wav"), header);
    writeSound(path("seventeen.wav"), noise(17, 100), SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    writeSound(path("slow.wav"), noise(1, 100, 4000));
    writeSound(path("none.wav"), CSound());

    const CTextCase cases[] = {
        {"gone.wav", "No such file"},
        {"folder.wav", "is a directory"},
        {"empty.wav", "is empty"},
        {"text.wav", "no sound file"},
        {"header.wav", "no sound file"},
        {"cut1.wav", "is cut off"},
        {"cut2.wav", "is cut off"},
        {"cut3.wav", "is cut off"},
        {"cut.flac", "cannot be read to its end"},
        {"cut.rf64", "is cut off"},
        {"nochannel.wav", "channel"},
        {"seventeen.wav", "has 17 channels; 1 to 16"},
        {"slow.wav", "sample rate of 4000 Hz"},
        {"none.wav", "holds no sound"},
    };
    for (const auto& [name, text] : cases)
        expectRefused({"render", "--in", path(name), "--out", path("out.wav")}, failed, text);
    expectRefused({"render", "--in", "/dev/null", "--out", path("out.wav")}, failed, "not a regular file");
}

TEST_F(BadInput, OutputsThatCannotBe)
{
    writeBytes(path("there.wav"), "precious");
    std::filesystem::create_directory(path("folder.wav"));
    std::filesystem::create_symlink("good.wav", path("link.wav"));
    std::filesystem::create_hard_link(path("good.wav"), path("hard.wav"));
    std::filesystem::create_symlink("nowhere", path("dangling.wav"));
    const auto out = [&](const std::string& name) -> std::vector<std::string>
    { return {"render", "--in", path("good.wav"), "--out", path(name)}; };
    const auto forced = [&](const std::string& name) { return joined({out(name), {"--force"}}); };

    expectRefused(out("there.wav"), failed, "--force replaces it");
    expectRefused(forced("folder.wav"), failed, "is a directory");
    expectRefused(out("no/such/out.wav"), failed, "No such file");
    expectRefused(forced("./good.wav"), failed, "same file");
    expectRefused(forced("link.wav"), failed, "same file");
    expectRefused(forced("hard.wav"), failed, "same file");
    expectRefused(out("dangling.wav"), failed, "link to a file that does not exist");
    expectRefused({"render", "--in", path("good.wav"), "--out", "/dev/null", "--force"}, failed, "not a regular file");
    expectRefused({"curve", "--out", path("no/such/x.svg")}, failed, "No such file");
    writeBytes(path("there.svg"), "precious");
    expectRefused({"curve", "--out", path("there.svg")}, failed, "--force replaces it");

    // The disk is full at the first byte.
    expectRefused({"render", "--in", path("good.wav"), "--out", "/proc/self/out.wav"}, failed, "unable to write");

    if (::geteuid() == 0)
        return;                                         // root may write everywhere
    std::filesystem::create_directory(path("locked"));
    std::filesystem::permissions(path("locked"), std::filesystem::perms::owner_read);
    expectRefused(out("locked/out.wav"), failed, "Permission denied");
}

TEST_F(BadInput, SettingsThatMeanNothing)
{
    const CTextCase cases[] = {
        {"modMorvaEQ.eq-params.frq=1k", "did you mean 'modMorvaEQ.eq-params.freq'"},
        {"nothing.of.this.kind=1", "no parameter 'nothing.of.this.kind'"},
        {"modMorvaEQ.eq-params.freq[8,0]=1k", "no group 8; groups are 0 to 7"},
        {"modMorvaEQ.eq-params.freq[0,32]=1k", "no band 32; they are 0 to 31"},
        {"oversampling[1,0]=2x", "all groups share it; write [0,0]"},
        {"modMorvaEQ.specstatic-params.data=1", "holds data that no text can give"},
        {"modMorvaEQ.eq-params.freq[0,99999999999]=1k", "KEY[group,element]=TEXT"},
        {"modMorvaEQ.eq-params.freq[0]=1k", "KEY[group,element]=TEXT"},
        {"modMorvaEQ.eq-params.freq[-1,0]=1k", "KEY[group,element]=TEXT"},
        {"modMorvaEQ.eq-params.freq[0,0=1k", "KEY[group,element]=TEXT"},
        {"=1k", "KEY[group,element]=TEXT"},
        {"modMorvaEQ.eq-params.freq=high", "'high' is no value for it; write a number from 20.0 Hz to 96.0k Hz"},
        {"modMorvaEQ.eq-params.freq=", "'' is no value for it"},
        {"modMorvaEQ.eq-params.gain=nan", "'nan' is no value for it"},
        {"modMorvaEQ.eq-params.mode=Peeking", "one of Off, Peaking"},
    };
    for (const auto& [setting, text] : cases)
        expectRefused({"curve", "--out", path("x.svg"), "--set", setting}, wrongUsage, text);
    expectRefused({"render", "--in", path("good.wav"), "--out", path("out.wav"), "--set", cases[0].first}, wrongUsage,
                  cases[0].second);
}

TEST_F(BadInput, CommandLinesThatAreWrong)
{
    const std::string in = path("good.wav");
    const std::string out = path("out.wav");
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{}, "give a command"},
        {{"rendr"}, "did you mean 'render'"},
        {{"render"}, "--in FILE is missing"},
        {{"render", "--in", in, "--out", ""}, "--out FILE is missing"},
        {{"render", "--in", in, "--in", in, "--out", out}, "--in is given twice"},
        {{"render", in, out}, "unexpected word"},
        {{"render", "--in", in, "--out", out, "--blok", "3"}, "did you mean '--block'"},
        {{"render", "--in", in, "--out", out, "--block", "0"}, "0 is outside 1 to 65536"},
        {{"render", "--in", in, "--out", out, "--block", "1.5"}, "no whole number"},
        {{"render", "--in", in, "--out", out, "--channels", "17"}, "17 is outside 1 to 16"},
        {{"info", "--json", "--dot"}, "either --json or --dot"},
        {{"render", "--in", in, "--out", out, "--format", "mp3"}, "none of f32, f64, s16, s24, s32"},
        {{"render", "--in", in, "--out", out, "--double=yes"}, "takes no value"},
        {{"curve", "--json", "--out", path("x.svg")}, "either --json or --out"},
        {{"curve", "--out", path("x.png")}, "has to end in .svg or .csv"},
        {{"curve", "--json", "--from", "1k", "--to", "100"}, "--from has to be below --to"},
        {{"curve", "--json", "--to", "30k"}, "outside 0.001 to 24000"},
        {{"curve", "--json", "--at", "1k,,2k"}, "'' is no frequency"},
        {{"curve", "--json", "--at", "1k", "--from", "20"}, "--at takes the place"},
        {{"curve", "--out", path("x.svg"), "--at", "1k"}, "--at gives numbers"},
    };
    for (const auto& [arguments, text] : cases)
        expectRefused(arguments, wrongUsage, text);
}

TEST_F(BadInput, NamesOfFilesCannotBreakTheLine)
{
    expectRefused({"render", "--in", path("two\nlines %1 %2"), "--out", path("out.wav")}, failed, "two?lines %1 %2");
}

// A render of many minutes, stopped as soon as its output has begun: it ends at once, and nothing of it stays.
TEST_F(BadInput, CtrlCInTheMiddleLeavesNothing)
{
    writeSound(path("long.wav"), noise(2, 6'000'000), SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    const std::vector<std::string> before = folderNames(folder);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    {
        bool hasBegun = false;
        const CRun run = runHost({"render", "--in", path("long.wav"), "--out", path("out.wav"), "--block", "16"},
                                 [&](pid_t child)
                                 {
                                     // Until the passing file beside the output has grown.
                                     for (int i = 0; i < 2000 && !hasBegun; ++i)
                                     {
                                         std::this_thread::sleep_for(std::chrono::milliseconds(5));
                                         for (const auto& entry : std::filesystem::directory_iterator(folder))
                                             hasBegun |= entry.path().filename().string().rfind(".morvahost", 0) == 0 &&
                                                         entry.file_size() > 10000;
                                     }
                                     ::kill(child, signal);
                                 });
        EXPECT_TRUE(hasBegun);
        EXPECT_EQ(run.code, failed) << run.err;
        EXPECT_EQ(run.err, "morvahost: stopped; nothing was written\n");
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(folderNames(folder), before);
    }
}

}
