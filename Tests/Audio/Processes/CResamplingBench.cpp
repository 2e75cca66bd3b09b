// SPDX-License-Identifier: GPL-3.0-or-later
#include "CResamplingBench.h"

#include "Audio/Graph/CAudioProcess.h"
#include "Audio/Graph/CAudioProcessTerminalDef.h"
#include "Support/ReferenceCases.h"

#include <cmath>
#include <numbers>

namespace kor::test
{

namespace
{

class CTapDef : public CAudioProcessTerminalDef<CTapProcess>
{
};

class CLatencyDef : public CAudioProcessTerminalDef<CLatencyProcess>
{
};

const CAttrs single = {{"is-single-group", "true"}};
const CAttrs globalSingle = {{"is-single-group", "true"}, {"is-global", "true"}};

std::string listOf(const nlohmann::json& numbers)
{
    std::string text;
    for (const nlohmann::json& number : numbers)
        text += (text.empty() ? "" : ",") + number.dump();
    return text;
}

// A switch between a half-band filter and the linear-phase one.
CTreeNode filterSwitch(const char* name, const std::string& halfBand, const char* seconds, const char* hertz)
{
    CTreeNode recursive = node("audio:modFilterIIR", "flt1",
                               {{"xfade-length", "0.015"}, {"gen-array", "shared::audio.fltarray." + halfBand}},
                               {param("index", "0", single), slot("index", 0, {{"is-smooth-update", "true"}})});
    CTreeNode linear = node("audio:modFilterFIR", "flt2",
                            {{"xfade-length", "0.015"}, {"is-smooth-update", "true"},
                             {"gen-array", "shared::audio.fltarray.firlp"}});
    const std::pair<const char*, const char*> settings[] = {{"index", "0"},   {"latency", "7"}, {"fixsr", "1"},
                                                            {"length", seconds}, {"freq", hertz},  {"power", "1"}};
    int index = 0;
    for (const auto& [setting, value] : settings)
    {
        linear.children.push_back(param(setting, value, single));
        linear.children.push_back(slot(setting, index++));
    }
    return node("audio:modProcessSwitch", name,
                {{"process-list", "0:.flt1;1:.flt2"}, {"def-index", "0"}, {"def-child-name", "mod"}},
                {param("index", "0", single), slot("index", 0), remap("index", "/main.lp-oversampling-enable"),
                 std::move(recursive), std::move(linear)});
}

CTreeNode resampler(const char* name, const char* isUpsampler)
{
    return node("audio:modResampler", name, {{"is-upsampler", isUpsampler}, {"xfade-length", "0.015"}},
                {param("mode", "1", single), param("host-mode", "0", single), slot("mode", 0), slot("host-mode", 1),
                 remap("mode", "^oversampling"), remap("host-mode", "^host-oversampling-mode")});
}

CTreeNode sharedObjects(const std::string& steep, const std::string& soft)
{
    CTreeNode generators = node("core:object", "flt", {}, {node("audio:fltgen-firlp", "firlp")});
    for (const nlohmann::json& one : referenceCases("halfband", "halfband_response"))
        generators.children.push_back(node("audio:fltgen-hbf", one.at("in").at("name").get<std::string>(),
                                           {{"a", listOf(one.at("in").at("a"))}, {"b", listOf(one.at("in").at("b"))}}));
    CTreeNode arrays = node("core:object", "fltarray");
    for (const std::string& name : {std::string("firlp"), steep, soft})
        arrays.children.push_back(
            node("audio:fltgen-array", name, {},
                 {node("audio:fltgen-array-item", "0", {{"index", "0"}, {"fltgen", "shared::audio.flt." + name}})}));
    return node("core:object", "audio", {},
                {std::move(generators), std::move(arrays), node("audio:modInterpolator", "modUpsamplerInterpolator"),
                 node("audio:modDecimator", "modDownsamplerDecimator"),
                 filterSwitch("modResamplerFilterSteep", steep, "0.00573696145124716553", "10788"),
                 filterSwitch("modResamplerFilterSoft", soft, "0.00068027210884353741", "12000")});
}

void addTypes()
{
    addAllTypes();
    addTestType(creatorRow<CTapDef>("test:tap"));
    addTestType(creatorRow<CLatencyDef>("test:late"));
}

CTreeNode resamplingGraph(const std::string& steep, const std::string& soft)
{
    addTypes();
    CTreeNode shared;
    shared.children = {
        converters(), sharedObjects(steep, soft),
        node("audio:process-def", "main", {{"is-auto-links", "true"}},
             {param("oversampling", "1", globalSingle), param("host-oversampling-mode", "0", globalSingle),
              param("lp-oversampling-enable", "0", globalSingle), param("is-uniform", "0", globalSingle),
              node("audio:process-bypass-state", "s12",
                   {{"id", "12"}, {"param", "is-uniform"}, {"value", "1.0"}, {"is-inverted", "true"}}),
              resampler("modUpsampler", "true"), node("test:tap", "tap"), resampler("modDownsampler", "false"),
              node("audio:modLatencyUniformer", "modLatencyUniformer",
                   {{"bypass-state-id", "12"}, {"latencies", "44100=502;48000=502;96000=502;192000=502"}})})};
    return shared;
}

}

void CTapProcess::process()
{
    prepareInputs();
    sampleRate = inputs().sampleRate();
    const auto channels = inputs().port(0).channels();
    for (std::size_t c = 0; c < channels.size(); ++c)
    {
        double* samples = channels[c].buffer.samples();
        for (int i = 0; injectFrequency > 0.0 && i < inputs().blockLength(); ++i)
        {
            samples[i] = std::sin(2.0 * std::numbers::pi * phase);
            phase = std::fmod(phase + injectFrequency, 1.0);
        }
        if (c == 0 && keepsSamples)
            heard.insert(heard.end(), samples, samples + inputs().blockLength());
        output().buffer(c) = std::move(channels[c].buffer);
    }
    deliverOutputs();
}

CTreeNode lateGraph(const char* tag, CAttrs attrs)
{
    addTypes();
    CTreeNode shared;
    shared.children = {converters(),
                       autoProcess("main", {node("test:late", "late", {},
                                                 {param("samples", "0", globalSingle), slot("samples", 0)}),
                                            node(tag, "node", std::move(attrs))})};
    return shared;
}

CResamplingBench::CResamplingBench(const std::string& steep, const std::string& soft)
    : CRunningGraph(resamplingGraph(steep, soft), {})
{
}

void CResamplingBench::start(double rateHz, int stages, bool isLinear)
{
    setStages(stages);
    set("lp-oversampling-enable", isLinear ? 1.0 : 0.0);
    startAt(rateHz);
    restart();
    tap().heard.clear();
}

std::vector<CAudioProcessBase*> CResamplingBench::nodesOf(const char* resampler)
{
    std::vector<CAudioProcessBase*> nodes;
    find(resampler)->visitRunning([&nodes](CAudioProcessBase& inner) { nodes.push_back(&inner); });
    return nodes;
}

}
