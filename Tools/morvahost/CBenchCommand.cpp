// SPDX-License-Identifier: GPL-3.0-or-later
#include "CBenchCommand.h"

#include "CExtAssignments.h"
#include "CPluginBench.h"
#include "CPluginSession.h"
#include "PluginPlaces.h"
#include "StandardOutput.h"

#include <chrono>

namespace kor
{

namespace
{

constexpr COptionSpec benchOptions[] = {
    CExtAssignments::option,
    {"--json", nullptr, "write JSON"},
    CPluginSession::pluginOption,
};

// What the equalizer is measured with when nothing is given: five bands, one of them dynamic.
const std::vector<std::string> usualBands = {
    "1Mode1=Hi-pass 24", "1Freq1=30", "1Mode2=Lo-shelf", "1Gain2=5", "1Dyn2=0", "1Mode3=Peaking Plain", "1Gain3=-9",
    "1Mode4=Peaking", "1Gain4=6", "1Mode5=Hi-shelf", "1Gain5=7", "1Dyn5=0"};

}

const char* CBenchCommand::usage() const
{
    return "morvahost bench [--plugin PATH] [--ext NAME=TEXT]... [--json]\n"
           "\n"
           "Loads the plug-in as a host does and measures: the time of loading it, of its first instance and of further ones,\n"
           "memory of an instance, and what processing costs as the plug-in comes and with settings (of MorvaEQ: five bands\n"
           "when none are given). Run it twice: the first time a disk may have its share.\n";
}

std::span<const COptionSpec> CBenchCommand::options() const
{
    return benchOptions;
}

COutcome CBenchCommand::run(const COptions& options)
{
    const bool isEqualizer = !options.has(CPluginSession::pluginOption.name);
    std::vector<std::string> texts = options.texts(CExtAssignments::option.name);
    if (texts.empty() && isEqualizer)
        texts = usualBands;
    CExtAssignments ext;
    MORVA_USAGE(ext.parse(texts));
    std::string bundle;
    KOR_TRY(findPlugin(isEqualizer ? "MorvaEQ" : options.text(CPluginSession::pluginOption.name), bundle));

    CRunStore store;
    if (isEqualizer)
        KOR_TRY(store.place());
    CHostApplication host;
    CVst3Module module;
    CPluginBench bench;
    const auto start = std::chrono::steady_clock::now();
    KOR_TRY(module.open(bundle, static_cast<Steinberg::Vst::IHostApplication*>(&host)));
    bench.moduleMs = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    KOR_TRY(bench.measureInstances(module, host));
    KOR_TRY(bench.measureLoad(module, host, nullptr, bench.idlePercent));
    if (!ext.isEmpty())
    {
        MORVA_USAGE(bench.measureLoad(module, host, &ext, bench.busyPercent));
        for (const std::string& text : texts)
            bench.settings += (bench.settings.empty() ? "" : ", ") + text;
    }
    return writeOut(options.has("--json") ? bench.asJson() : bench.asText());
}

}
