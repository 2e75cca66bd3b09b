// SPDX-License-Identifier: GPL-3.0-or-later
#include "PluginText.h"

#include "JsonText.h"

#include "Vst3Host/HostText.h"

#include <algorithm>

namespace kor
{

namespace
{

using Steinberg::Vst::ParameterInfo;

constexpr struct
{
    int flag;
    const char* name;
} flagNames[] = {
    {ParameterInfo::kCanAutomate, "automatable"},   {ParameterInfo::kIsReadOnly, "read-only"},
    {ParameterInfo::kIsWrapAround, "wraps"},        {ParameterInfo::kIsList, "list"},
    {ParameterInfo::kIsHidden, "hidden"},           {ParameterInfo::kIsProgramChange, "program"},
    {ParameterInfo::kIsBypass, "bypass"},
};

std::string flagsText(int flags, const char* before, const char* between, const char* behind)
{
    std::string text;
    for (const auto& [flag, name] : flagNames)
        if ((flags & flag) != 0)
            text += (text.empty() ? "" : between) + std::string(before) + name + behind;
    return text;
}

std::string classIdText(const Steinberg::FUID& id)
{
    char text[33] = {};
    id.toString(text);
    return text;
}

// What is not empty of a list, joined.
std::string joined(const std::vector<std::string>& pieces)
{
    std::string text;
    for (const std::string& piece : pieces)
        if (!piece.empty())
            text += (text.empty() ? "" : ", ") + piece;
    return text;
}

std::string tailText(Steinberg::uint32 tail)
{
    return tail == Steinberg::Vst::kInfiniteTail ? "for ever" : std::to_string(tail) + " samples";
}

std::string padded(std::string text, std::size_t width)
{
    text.resize(std::max(text.size(), width), ' ');
    return text + "  ";
}

std::string shown(const CVst3Plugin& plugin, const CVst3Parameter& parameter, double value)
{
    const std::string text = plugin.textOfValue(parameter, value);
    return parameter.units.empty() || text.empty() ? text : text + ' ' + parameter.units;
}

}

std::string pluginAsText(const CVst3Module& module, const CVst3Plugin& plugin, double rateHz)
{
    const Steinberg::PFactoryInfo& maker = module.factoryInfo();
    const CVst3Class& effect = plugin.effectClass();
    std::string text = module.path() + "\n\nfactory    " +
                       joined({fieldText(maker.vendor), fieldText(maker.url), fieldText(maker.email)}) + "\nclass      " +
                       joined({effect.version.empty() ? effect.name : effect.name + ' ' + effect.version, effect.vendor,
                               effect.subCategories, effect.sdkVersion}) +
                       "\nclass id   " + classIdText(effect.id);
    text += std::string("\nobjects    ") + (plugin.isSingleObject() ? "processor and controller in one" : "two, connected");
    for (const CVst3Bus& bus : plugin.buses())
        text += "\nbus        " + bus.name + ": " + std::to_string(bus.channels) +
                (bus.channels == 1 ? " channel" : " channels") + (bus.isAudio ? " of audio " : " of events ") +
                (bus.isInput ? "in" : "out") + (bus.isMain ? "" : ", auxiliary") + (bus.isDefaultActive ? "" : ", off");
    text += "\nlatency    " + std::to_string(plugin.latency()) + " samples at " + numberText(rateHz) + " Hz\ntail       " +
            tailText(plugin.tail()) + "\nparameters " + std::to_string(plugin.parameters().size()) + "\nprograms   ";
    const std::vector<std::string> programs = plugin.programs();
    text += programs.empty() ? "none" : std::to_string(programs.size());
    for (std::size_t i = 0; i < programs.size(); ++i)
        text += "\n  " + std::to_string(i) + (i < 10 ? "  " : " ") + programs[i];
    return text + '\n';
}

std::string pluginAsJson(const CVst3Module& module, const CVst3Plugin& plugin, double rateHz)
{
    const Steinberg::PFactoryInfo& maker = module.factoryInfo();
    std::string text = "{\n  \"bundle\": " + jsonText(module.path()) + ",\n  \"factory\": {\"vendor\": " +
                       jsonText(fieldText(maker.vendor)) + ", \"url\": " + jsonText(fieldText(maker.url)) +
                       ", \"email\": " + jsonText(fieldText(maker.email)) + "},\n";
    const CVst3Class& effect = plugin.effectClass();
    text += "  \"class\": {\"id\": " + jsonText(classIdText(effect.id)) + ", \"name\": " + jsonText(effect.name) +
            ", \"vendor\": " + jsonText(effect.vendor) + ", \"version\": " + jsonText(effect.version) +
            ", \"subCategories\": " + jsonText(effect.subCategories) + ", \"sdkVersion\": " +
            jsonText(effect.sdkVersion) + "},\n";
    text += std::string("  \"singleObject\": ") + (plugin.isSingleObject() ? "true" : "false") + ",\n  \"buses\": [";
    const char* between = "\n";
    for (const CVst3Bus& bus : plugin.buses())
    {
        text += between + std::string("    {\"name\": ") + jsonText(bus.name) + ", \"channels\": " +
                std::to_string(bus.channels) + ", \"type\": " + (bus.isAudio ? "\"audio\"" : "\"event\"") +
                ", \"direction\": " + (bus.isInput ? "\"in\"" : "\"out\"") + ", \"main\": " +
                (bus.isMain ? "true" : "false") + ", \"defaultActive\": " + (bus.isDefaultActive ? "true}" : "false}");
        between = ",\n";
    }
    const bool isEndless = plugin.tail() == Steinberg::Vst::kInfiniteTail;
    text += "\n  ],\n  \"rate\": " + jsonNumber(rateHz) + ",\n  \"latency\": " + std::to_string(plugin.latency()) +
            ",\n  \"tail\": " + (isEndless ? "null" : std::to_string(plugin.tail())) + ",\n  \"parameters\": " +
            std::to_string(plugin.parameters().size()) + ",\n  \"programs\": [";
    between = "";
    for (const std::string& program : plugin.programs())
    {
        text += between + jsonText(program);
        between = ", ";
    }
    return text + "]\n}\n";
}

std::string parametersAsText(const CVst3Plugin& plugin)
{
    std::size_t titles = 0;
    std::size_t values = 0;
    std::vector<std::string> now;
    std::vector<std::string> start;
    for (const CVst3Parameter& parameter : plugin.parameters())
    {
        now.push_back(shown(plugin, parameter, plugin.value(parameter)));
        start.push_back(shown(plugin, parameter, parameter.defaultValue));
        titles = std::max(titles, parameter.title.size());
        values = std::max({values, now.back().size(), start.back().size()});
    }
    std::string text = "index  " + padded("name", titles) + padded("value", values) + padded("default", values) + "\n";
    for (std::size_t i = 0; i < now.size(); ++i)
    {
        const CVst3Parameter& parameter = plugin.parameters()[i];
        std::string line = padded(std::to_string(i), 5) + padded(parameter.title, titles) + padded(now[i], values) +
                           padded(start[i], values) + flagsText(parameter.flags, "", ", ", "");
        if (parameter.stepCount > 0)
            line += ", " + std::to_string(parameter.stepCount + 1) + " steps";
        text += line + '\n';
    }
    return text;
}

std::string parametersAsJson(const CVst3Plugin& plugin)
{
    std::string text = "[";
    const char* between = "\n";
    int index = 0;
    for (const CVst3Parameter& parameter : plugin.parameters())
    {
        text += between + std::string("  {\"index\": ") + std::to_string(index++) + ", \"id\": " +
                std::to_string(parameter.id) + ", \"title\": " + jsonText(parameter.title) + ", \"units\": " +
                jsonText(parameter.units) + ", \"value\": " + jsonNumber(plugin.value(parameter)) + ", \"text\": " +
                jsonText(plugin.textOfValue(parameter, plugin.value(parameter))) + ", \"default\": " +
                jsonNumber(parameter.defaultValue) + ", \"defaultText\": " +
                jsonText(plugin.textOfValue(parameter, parameter.defaultValue)) + ", \"stepCount\": " +
                std::to_string(parameter.stepCount) + ", \"flags\": [" +
                flagsText(parameter.flags, "\"", ", ", "\"") + "]}";
        between = ",\n";
    }
    return text + "\n]\n";
}

}
