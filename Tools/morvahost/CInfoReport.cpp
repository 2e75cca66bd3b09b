// SPDX-License-Identifier: GPL-3.0-or-later
#include "CInfoReport.h"

#include "JsonText.h"
#include "ParamText.h"

#include "Audio/Graph/CAudioGraphHost.h"
#include "Audio/Graph/CAudioProcessBase.h"
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Plugin/CAudioInstance.h"

#include <cmath>

namespace kor
{

namespace
{

// The parameters of the bands of all groups.
class CBandReader
{
public:
    CError open(const CAudioInstance& instance)
    {
        constexpr const char* names[] = {"mode", "freq", "gain", "bw", "dyn"};
        for (std::size_t i = 0; i < std::size(names); ++i)
        {
            const CStringBuf key = CStringBuf("modMorvaEQ.eq-params.") + names[i];
            params[i] = instance.findParam(key);
            if (params[i] == nullptr || !params[i]->hasInfo())
                return KOR_FAIL("there is no parameter '%1'", key);
        }
        return {};
    }

    CInfoBand read(int group, int element) const
    {
        CInfoBand band;
        band.element = element;
        band.type = shown(0, group, element);
        band.frequencyHz = params[1]->getValue(group, element);
        band.gainDb = 20.0 * std::log10(params[2]->getValue(group, element));
        band.bandwidthOctaves = params[3]->getValue(group, element);
        band.dynamicsPercent = 100.0 * params[4]->getValue(group, element);
        band.text = band.type;
        band.text.resize(std::max<std::size_t>(band.text.size(), 13), ' ');
        for (std::size_t i = 1; i < 4; ++i)
            band.text += "  " + shown(i, group, element);
        band.text += "  dyn " + shown(4, group, element);
        return band;
    }

private:
    std::string shown(std::size_t index, int group, int element) const
    {
        return shownValue(params[index]->info(), params[index]->getValue(group, element));
    }

    CAudioParam* params[5] = {};
};

std::string channelNumbers(const std::vector<int>& channels, int first)
{
    std::string text;
    for (const int channel : channels)
        text += (text.empty() ? "" : ", ") + std::to_string(channel + first);
    return text;
}

std::string plural(int count, const char* word)
{
    return std::to_string(count) + ' ' + word + (count == 1 ? "" : "s");
}

}

CError CInfoReport::read(const CAudioInstance& instance, double sampleRate, int hostChannels)
{
    const CAudioGraphHost& host = instance.graph();
    rate = sampleRate;
    inputs = hostChannels;
    outputs = host.outputCount();
    latency = host.latency();
    graph = viewOfGraph(*host.rootProcess(), sampleRate);

    CBandReader bands;
    KOR_TRY(bands.open(instance));
    // Every channel that reaches the equalizer, in its group.
    host.rootProcess()->visitRunning(
        [&](CAudioProcessBase& node)
        {
            if (node.name() != CStringBuf("plugin.modMain.modMorvaEQ"))
                return;
            for (const CAudioPortChannel& entry : node.inputs().port(0).channels())
            {
                std::size_t g = 0;
                while (g < groups.size() && groups[g].group != entry.channel.group)
                    ++g;
                if (g == groups.size())
                    groups.push_back({entry.channel.group, {}, {}});
                groups[g].channels.push_back(entry.channel.number);
            }
        });
    for (CInfoGroup& group : groups)
        for (int element = 0; element < instance.bandCount(group.group); ++element)
            group.bands.push_back(bands.read(group.group, element));
    return {};
}

std::string CInfoReport::asText() const
{
    std::string text = plural(inputs, "channel") + " in, " + std::to_string(outputs) + " out, " + numberText(rate) +
                       " Hz; latency " + plural(latency, "sample") + "; " + plural(graph.leafCount(), "running node") +
                       "\n";
    for (const CInfoGroup& group : groups)
    {
        text += "\ngroup " + std::to_string(group.group) + ": channel" + (group.channels.size() == 1 ? " " : "s ") +
                channelNumbers(group.channels, 1) + "\n";
        for (const CInfoBand& band : group.bands)
            text += "  band " + std::to_string(band.element) + (band.element < 10 ? "   " : "  ") + band.text + "\n";
    }
    return text + "\ngraph, as it runs\n" + graphAsText(graph);
}

std::string CInfoReport::asJson() const
{
    std::string text = "{\n  \"rate\": " + jsonNumber(rate) + ",\n  \"inputs\": " + std::to_string(inputs) +
                       ",\n  \"outputs\": " + std::to_string(outputs) + ",\n  \"latency\": " + std::to_string(latency) +
                       ",\n  \"runningNodes\": " + std::to_string(graph.leafCount()) + ",\n  \"groups\": [";
    for (std::size_t g = 0; g < groups.size(); ++g)
    {
        const CInfoGroup& group = groups[g];
        text += std::string(g == 0 ? "\n" : ",\n") + "    {\"group\": " + std::to_string(group.group) +
                ", \"channels\": [" + channelNumbers(group.channels, 0) + "], \"bands\": [";
        for (std::size_t i = 0; i < group.bands.size(); ++i)
        {
            const CInfoBand& band = group.bands[i];
            text += std::string(i == 0 ? "\n" : ",\n") + "      {\"element\": " + std::to_string(band.element) +
                    ", \"mode\": " + jsonText(band.type) + ", \"freq\": " + jsonNumber(band.frequencyHz) +
                    ", \"gain\": " + jsonNumber(band.gainDb) + ", \"bw\": " + jsonNumber(band.bandwidthOctaves) +
                    ", \"dyn\": " + jsonNumber(band.dynamicsPercent) + "}";
        }
        text += group.bands.empty() ? "]}" : "\n    ]}";
    }
    return text + (groups.empty() ? "]" : "\n  ]") + ",\n  \"graph\": " + graphAsJson(graph, 2) + "\n}\n";
}

std::string CInfoReport::asDot() const
{
    return graphAsDot(graph, plural(inputs, "channel") + " at " + numberText(rate) + " Hz, latency " +
                                 plural(latency, "sample"));
}

}
