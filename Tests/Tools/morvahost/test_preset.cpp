// SPDX-License-Identifier: GPL-3.0-or-later
#include "HostFixture.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <zlib.h>

namespace kor::test
{

namespace
{

class PresetFiles : public HostTest
{
protected:
    std::string write(const std::string& name, const std::string& content) const
    {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }

    std::string read(const std::string& name) const
    {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
};

std::string u32(std::uint32_t value)
{
    std::string bytes;
    for (int i = 0; i < 4; ++i)
        bytes += static_cast<char>(value >> (8 * i));
    return bytes;
}

std::string str(const std::string& text)
{
    return u32(static_cast<std::uint32_t>(text.size())) + text;
}

std::string container(const std::string& tag, const std::string& body)
{
    const std::string size = u32(static_cast<std::uint32_t>(body.size()));
    std::string packed(compressBound(body.size()), '\0');
    uLongf length = packed.size();
    compress(reinterpret_cast<Bytef*>(packed.data()), &length, reinterpret_cast<const Bytef*>(body.data()), body.size());
    packed.resize(length);
    return tag + size + u32(static_cast<std::uint32_t>(adler32(1, reinterpret_cast<const Bytef*>(size.data()), 4))) +
           packed;
}

std::string bodyOf(const std::string& file)
{
    std::string body(1 << 20, '\0');
    uLongf length = body.size();
    EXPECT_EQ(uncompress(reinterpret_cast<Bytef*>(body.data()), &length,
                         reinterpret_cast<const Bytef*>(file.data()) + 12, file.size() - 12),
              Z_OK);
    body.resize(length);
    return body;
}

// A float block of one group: +8 dB as it is stored, and a value that no text in decibels gives.
const std::string gains = str("audio.modMain.modMorvaEQ.eq-params.gain") + u32(1) + u32(1) + u32(0) + u32(1) + u32(2) +
                          std::string("\x00\x00\x00\x00\x00\x00\xF0\x3F", 8) +
                          std::string("\x00\x00\x00\x00\x00\x00\xF0\x7F", 8);
const std::string preset = str("q7ne0:Two") + u32(2) + str("gain") + u32(static_cast<std::uint32_t>(gains.size())) +
                           gains + str("no such key") + u32(3) + "\x01\x02\xFF";

}

TEST_F(PresetFiles, DumpShowsAFileAndMakeGivesItBack)
{
    const std::pair<std::string, std::string> files[] = {
        {"aprs", preset},
        {"abnk", str("B") + u32(2) + preset + str("") + u32(0)},
        {"alst", u32(2) + str("") + u32(1) + preset + str("x") + u32(0)},
    };
    for (const auto& [tag, body] : files)
    {
        const std::string file = write(tag, container(tag, body));
        const CRun shown = runHost({"preset", "dump", file});
        EXPECT_EQ(shown.code, 0) << shown.err;
        EXPECT_NE(shown.out.find("preset \"q7ne0:Two\"\n"
                                 "    gain = 0 dB, =bits:7ff0000000000000\n"
                                 "    \"no such key\" = block(0102ff)\n"),
                  std::string::npos)
            << shown.out;
        ASSERT_EQ(runHost({"preset", "dump", file, "--out", path(tag + ".txt")}).code, 0);
        EXPECT_EQ(read(tag + ".txt"), shown.out);
        const CRun made = runHost({"preset", "make", path(tag + ".txt"), path(tag + ".again")});
        EXPECT_EQ(made.code, 0) << made.err;
        EXPECT_EQ(read(tag + ".again").substr(0, 4), tag);
        EXPECT_EQ(bodyOf(read(tag + ".again")), body);
    }
}

TEST_F(PresetFiles, MakeNamesFileAndLineOfAMistake)
{
    const std::string text = write("wrong.txt", "preset \"q7ne0:x\"\n\n    gain = 40 dB\n");
    const CRun run = runHost({"preset", "make", text, path("out.cpf")});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.err, "morvahost: " + text + ":3: gain: '40 dB' is outside of the range from -30.0 dB to 30.0 dB\n");
    EXPECT_FALSE(std::filesystem::exists(path("out.cpf")));
}

TEST_F(PresetFiles, AnExistingOutputStaysWithoutForce)
{
    const std::string text = write("x.txt", "preset \"q7ne:x\"\n");
    const std::string file = write("x.cpf", container("aprs", preset));
    EXPECT_EQ(runHost({"preset", "make", text, file}).code, 1);
    EXPECT_EQ(bodyOf(read("x.cpf")), preset);
    EXPECT_EQ(runHost({"preset", "dump", file, "--out", text}).code, 1);
    EXPECT_EQ(read("x.txt"), "preset \"q7ne:x\"\n");
    EXPECT_EQ(runHost({"preset", "make", text, file, "--force"}).code, 0);
    EXPECT_EQ(bodyOf(read("x.cpf")), str("q7ne:x") + u32(0));
}

TEST_F(PresetFiles, BrokenFilesAndCommandLinesAreRefused)
{
    const std::string good = container("aprs", preset);
    std::string falseSize = good;
    falseSize[4] ^= 1;
    const struct
    {
        const char* what;
        std::string content;
        const char* message;
    } files[] = {
        {"empty", "", "Premature end"},
        {"another tag", container("xprs", preset), "not a preset, a bank or a list"},
        {"half", good.substr(0, good.size() / 2), "Premature end of file."},
        {"false size", falseSize, "Invalid CRC encountered"},
        {"more behind", container("aprs", preset + "x"), "1 bytes too many"},
        {"short body", container("aprs", preset.substr(0, preset.size() - 1)), "Premature end"},
        {"bomb", "aprs" + u32(0xFFFFFFFF), "too large"},
    };
    for (const auto& f : files)
    {
        const std::string file = write("broken", f.content);
        const CRun run = runHost({"preset", "dump", file});
        EXPECT_EQ(run.code, 1) << f.what;
        EXPECT_EQ(run.errorLines(), 1) << f.what;
        EXPECT_NE(run.err.find(f.message), std::string::npos) << f.what << ": " << run.err;
        EXPECT_NE(run.err.find(file), std::string::npos) << f.what << ": " << run.err;
        EXPECT_EQ(run.out, "") << f.what;
    }
    EXPECT_EQ(runHost({"preset", "dump", path("missing")}).code, 1);
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"preset"}, {"preset", "dump"}, {"preset", "make", "a"}, {"preset", "show", "a"},
             {"preset", "make", "a", "b", "--out", "c"}, {"preset", "dump", "a", "b"}})
        EXPECT_EQ(runHost(words).code, 2) << words.back();
    EXPECT_NE(runHost({"preset", "--help"}).out.find("morvahost preset dump FILE"), std::string::npos);
}

}
