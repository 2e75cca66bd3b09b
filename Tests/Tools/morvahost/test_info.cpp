// SPDX-License-Identifier: GPL-3.0-or-later
#include "HostFixture.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>
#include <sstream>

namespace kor::test
{

namespace
{

using Info = HostTest;
using CWords = std::vector<std::string>;

CWords set(const char* first, const char* second)
{
    return {"--set", first, "--set", second};
}

CRun info(const CWords& arguments)
{
    CWords words = {"info", "--graph"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    CRun run = runHost(words);
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.err, "");
    return run;
}

CWords linesOf(const std::string& text)
{
    CWords lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

const std::string dynamicBand = "Filter, AbsIn, AbsFlt, LevelerIn, LevelerFlt, Env [0: LevelerFlt, 1: LevelerIn], "
                                "SignalMix [0: Filter, 1: input, 2: Env]";

struct CInfoCase
{
    CWords arguments;
    CWords lines;               // whole lines of the output, in order
};

const CInfoCase infoCases[] = {
    {{},
     {"2 channels in, 2 out, 48000 Hz; latency 0 samples; 10 running nodes",
      "group 0: channels 1, 2",
      "  InRouter, DenormMod, MorvaEQ, OutGain, Bypass [0: OutGain, 1: InRouter], OutRouter",
      "    MorvaEQ",
      "      band 0: Filter",
      "      band 4: Filter"}},
    {set("io-params.ms-pairs[0,0]=MS1", "io-params.ms-pairs[0,1]=MS1"),
     {"  InRouter, MSEncoder, DenormMod, MorvaEQ, OutGain, MSDecoder, Bypass [0: MSDecoder, 1: InRouter], OutRouter"}},
    {{"--set", "io-params.channel-group-solo=On"},
     {"  InRouter, DenormMod, MorvaEQ, OutGain, GroupSolo, Bypass [0: GroupSolo, 1: InRouter], OutRouter"}},
    {set("oversampling=2x", "lp-oversampling-enable=1"),
     {"2 channels in, 2 out, 48000 Hz; latency 502 samples; 15 running nodes",
      "  InRouter, DenormMod, Upsampler (+193), MorvaEQ, OutGain, Downsampler (+193), "
      "Bypass [0: Downsampler, 1: InRouter delayed 386], LatencyUniformer (+116), OutRouter"}},
    {set("denorm-enable=0", "modMorvaEQ.eq-params.mode[0,1]=Peaking"),
     {"  band 1   Peaking        125 Hz  0.0 dB  2.50 Oct  dyn 100 %",
      "  InRouter, MorvaEQ, OutGain, Bypass [0: OutGain, 1: InRouter], OutRouter",
      "      band 0: Filter",
      "      band 1: " + dynamicBand,
      "      band 2: Filter"}},
    {set("modMorvaEQ.eq-params.band-count=1", "modMorvaEQ.eq-params.mode=Peaking Hrm"),
     {"    MorvaEQ",
      "      band 0: " + dynamicBand,
      "        Filter: Filter, DCFilter, MetaTube [0: DCFilter, 1: input]"}},
    {{"--channels", "6", "--set", "modMorvaEQ.eq-params.band-count[1,0]=2", "--set", "io-params.grouping[0,2]=1",
      "--set", "io-params.grouping[0,3]=1", "--set", "io-params.grouping[0,4]=2", "--set", "io-params.grouping[0,5]=2"},
     {"group 0: channels 1, 2", "group 1: channels 3, 4", "group 2: channels 5, 6",
      "    MorvaEQ, group 0", "      band 4: Filter", "    MorvaEQ, group 1", "      band 1: Filter",
      "    MorvaEQ, group 2", "      band 0: Filter"}},
    {{"--channels", "1", "--rate", "96k"},
     {"1 channel in, 1 out, 96000 Hz; latency 0 samples; 10 running nodes", "group 0: channel 1"}},
};

// A container's list of nodes as the text has it, made from the links of the JSON form.
std::string listed(const nlohmann::json& nodes)
{
    std::string text;
    for (const auto& node : nodes)
    {
        text += (text.empty() ? "" : ", ") + node["name"].get<std::string>();
        if (const double added = node["addedLatency"]; added != 0.0)
            text += " (+" + std::to_string(static_cast<int>(added)) + ")";
        if (node["inputs"].size() < 2)
            continue;
        int port = -1;
        text += " [";
        for (const auto& input : node["inputs"])
        {
            if (input["port"] == port)
                text += " + ";
            else
                text += (port < 0 ? "" : ", ") + input["port"].dump() + ": ";
            port = input["port"];
            const auto& from = input["from"];
            text += from.is_null() ? "input" : nodes[from.get<std::size_t>()]["name"].get<std::string>();
            if (const double delay = input["delay"]; delay != 0.0)
                text += " delayed " + std::to_string(static_cast<int>(delay));
        }
        text += "]";
    }
    return text;
}

int leaves(const nlohmann::json& nodes)
{
    int count = 0;
    for (const auto& node : nodes)
        count += node["nodes"].empty() ? 1 : leaves(node["nodes"]);
    return count;
}

}

TEST_F(Info, TellsWhatRunsInWhichOrder)
{
    for (const CInfoCase& t : infoCases)
    {
        const std::string text = info(t.arguments).out;
        const CWords lines = linesOf(text);
        auto at = lines.begin();
        for (const std::string& line : t.lines)
        {
            const auto found = std::find(at, lines.end(), line);
            EXPECT_NE(found, lines.end()) << "no line, or not in order: " << line << "\n" << text;
            at = found;
        }
    }
}

TEST_F(Info, JsonTellsTheSame)
{
    for (const CInfoCase& t : infoCases)
    {
        const std::string text = info(t.arguments).out;
        SCOPED_TRACE(text);
        const auto json = nlohmann::json::parse(info(joined({t.arguments, {"--json"}})).out, nullptr, false);
        ASSERT_TRUE(json.is_object());
        CWords expected = {"\n  " + listed(json["graph"]) + "\n",
                           "latency " + json["latency"].dump() + " samples; " + json["runningNodes"].dump() + " run"};
        for (const auto& group : json["groups"])
        {
            expected.push_back("\ngroup " + group["group"].dump() + ": channel");
            for (const auto& one : group["bands"])
                expected.push_back("\n  band " + one["element"].dump() + "   " + one["mode"].get<std::string>() + " ");
        }
        for (const std::string& part : expected)
            EXPECT_NE(text.find(part), std::string::npos) << part;
        EXPECT_EQ(leaves(json["graph"]), json["runningNodes"].get<int>());
    }
}

// Links only between nodes that are there, and every node but the ends reached and left.
TEST_F(Info, PictureIsWhole)
{
    for (const CInfoCase& t : infoCases)
    {
        const std::string dot = info(joined({t.arguments, {"--dot"}})).out;
        SCOPED_TRACE(dot);
        EXPECT_EQ(dot.rfind("digraph morvaeq {\n", 0), 0u);
        EXPECT_EQ(std::count(dot.begin(), dot.end(), '{'), std::count(dot.begin(), dot.end(), '}'));
        std::set<std::string> nodes;
        std::set<std::string> targets = {"input"};
        std::set<std::string> origins = {"output"};
        for (const std::string& line : linesOf(dot))
        {
            std::istringstream words(line);
            std::string first;
            std::string second;
            std::string third;
            words >> first >> second >> third;
            if (second == "->")
            {
                origins.insert(first);
                targets.insert(third.substr(0, third.find(';')));
            }
            else if (second.rfind("[label=", 0) == 0 || first == "input" || first == "output")
            {
                EXPECT_TRUE(nodes.insert(first).second) << first;
            }
        }
        EXPECT_GE(nodes.size(), 8u);
        EXPECT_EQ(targets, nodes);
        EXPECT_EQ(origins, nodes);
    }
}

}
