// SPDX-License-Identifier: GPL-3.0-or-later
// A project's state as render, curve and info take it, and as render keeps it.
#include "HostFixture.h"

#include <nlohmann/json.hpp>

namespace kor::test
{
namespace
{

using nlohmann::json;
using Words = std::vector<std::string>;

class HostState : public HostTest
{
protected:
    HostState() { writeSound(path("in.wav"), noise(2, 24000)); }

    Words render(const std::string& out, const Words& more) const
    {
        return joined({{"render", "--in", path("in.wav"), "--out", path(out), "--double"}, withoutNoise(), more});
    }

    void run(const Words& words) const
    {
        const CRun done = runHost(words);
        EXPECT_EQ(done.code, 0) << done.err;
    }
};

TEST_F(HostState, KeptAndGivenBackSoundsTheSame)
{
    const Words settings = joined({fiveBands(), band("dyn", 2, "2"), {"--set", "oversampling=2x"}});
    run(render("set.wav", joined({settings, {"--save-state", path("kept")}})));
    run(render("state.wav", {"--state", path("kept"), "--save-state", path("again")}));
    EXPECT_TRUE(readBytes(path("set.wav")) == readBytes(path("state.wav")));
    EXPECT_FALSE(readBytes(path("set.wav")) == readBytes(path("in.wav")));

    // The same state is the same text, whatever the compression made of it.
    for (const char* file : {"kept", "again"})
        run({"preset", "dump", path(file), "--out", path(std::string(file) + ".txt")});
    EXPECT_EQ(readBytes(path("kept.txt")), readBytes(path("again.txt")));

    // --set comes on top of the state.
    run(render("on-top.wav", joined({{"--state", path("kept")}, band("gain", 2, "-12.5")})));
    EXPECT_FALSE(readBytes(path("on-top.wav")) == readBytes(path("set.wav")));

    const auto shown = [](const Words& words) { return json::parse(runHost(words).out); };
    const Words at = {"curve", "--json", "--at", "100,1000,10000"};
    EXPECT_EQ(shown(joined({at, {"--state", path("kept")}})), shown(joined({at, settings})));
    EXPECT_EQ(shown({"info", "--graph", "--json", "--state", path("kept")}),
              shown(joined({{"info", "--graph", "--json"}, settings})));
}

TEST_F(HostState, EachProgramOfABankIsAState)
{
    for (int program = 0; program < 11; ++program)
    {
        const Words chosen = {"--state", MORVA_FACTORY_BANK, "--bank-program", std::to_string(program)};
        run(render("bank.wav", joined({chosen, {"--force", "--save-state", path("program")}})));
        run(render("state.wav", {"--force", "--state", path("program")}));
        EXPECT_TRUE(readBytes(path("bank.wav")) == readBytes(path("state.wav"))) << program;
    }
}

TEST_F(HostState, WhatDoesNotFitIsOneLine)
{
    run(render("out.wav", {"--save-state", path("kept")}));
    writeBytes(path("cut"), readBytes(path("kept")).substr(0, 100));
    writeBytes(path("text"), "what a user wrote");
    writeBytes(path("other.txt"), "preset \"KRIO:Another registry's\"\n");
    run({"preset", "make", path("other.txt"), path("other")});

    const struct
    {
        Words words;
        int code;
        const char* says;
    } rows[] = {
        {{"--state", path("none")}, 1, "none"},
        {{"--state", folder}, 1, "files"},
        {{"--state", path("text")}, 1, "Invalid ID encountered"},
        {{"--state", path("cut")}, 1, ""},
        {{"--state", path("other")}, 1, "Incompatible preset."},
        {{"--state", MORVA_FACTORY_BANK}, 1, "Invalid ID encountered"},
        {{"--state", path("kept"), "--bank-program", "0"}, 1, "Invalid ID encountered"},
        {{"--state", MORVA_FACTORY_BANK, "--bank-program", "11"}, 1, "programs 0 to 10 only"},
        {{"--state", MORVA_FACTORY_BANK, "--bank-program", "-1"}, 2, "--bank-program"},
        {{"--bank-program", "1"}, 2, "give that too"},
        {{"--save-state", path("kept")}, 1, "kept"},
        {{"--save-state", path("no/where")}, 1, "where"},
    };
    const std::string before = readBytes(path("kept"));
    for (const auto& row : rows)
    {
        const CRun done = runHost(render("fresh.wav", row.words));
        EXPECT_EQ(done.code, row.code) << row.words[1] << done.err;
        EXPECT_EQ(done.errorLines(), 1) << done.err;
        EXPECT_NE(done.err.find(row.says), std::string::npos) << row.words[1] << done.err;
    }
    EXPECT_TRUE(readBytes(path("kept")) == before);
}

}
}
