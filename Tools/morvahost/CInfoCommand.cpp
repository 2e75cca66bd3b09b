// SPDX-License-Identifier: GPL-3.0-or-later
#include "CInfoCommand.h"

#include "CHostSession.h"
#include "CHostSettings.h"
#include "CInfoReport.h"
#include "CPluginSession.h"
#include "CStateFile.h"
#include "DefaultRouting.h"
#include "PluginText.h"
#include "StandardOutput.h"

namespace kor
{

namespace
{

constexpr COptionSpec infoOptions[] = {
    CHostSettings::setOption,
    CExtAssignments::option,
    CPluginSession::programOption,
    CStateFile::stateOption,
    CStateFile::programOption,
    {"--rate", "R", "sample rate in Hz, 8000 to 768000 (default 48000)"},
    {"--channels", "N", "channels of the host, 1 to 16 (default 2)"},
    {"--graph", nullptr, "show the running graph instead"},
    {"--json", nullptr, "write JSON; in that of the graph groups, channels and bands count from 0, `from` is an index\n"
                        "into the same list, null for what the container gets"},
    {"--dot", nullptr, "write a picture for Graphviz: morvahost info --graph --dot | dot -Tsvg >graph.svg"},
    CPluginSession::pluginOption,
};

}

const char* CInfoCommand::usage() const
{
    return "morvahost info [--plugin PATH] [--set KEY[g,e]=TEXT]... [--rate R] [--channels N] [--json]\n"
           "       morvahost info --graph [--set KEY[g,e]=TEXT]... [--rate R] [--channels N] [--json | --dot]\n"
           "\n"
           "Loads the plug-in and tells what a host learns of it: who made it, its buses, latency and tail with these\n"
           "settings, its programs.\n"
           "\n"
           "With --graph: what runs with these settings: channels, groups and their bands, latency, and the nodes of the graph\n"
           "in the order in which they run; below a node what runs inside it. In brackets stands what feeds a node from\n"
           "more than one place, port by port; `input` is what the container of the node gets. --json and --dot tell all\n"
           "links. Samples count at the host's rate.\n"
           "    Bypass [0: OutGain, 1: InRouter delayed 386]    the second port waits for the first\n"
           "    LatencyUniformer (+116)                         adds latency\n"
           "Example: morvahost info --graph --set oversampling=2x --set 'io-params.ms-pairs[0,0]=MS1' \\\n"
           "                                --set 'io-params.ms-pairs[0,1]=MS1'\n";
}

std::span<const COptionSpec> CInfoCommand::options() const
{
    return infoOptions;
}

COutcome CInfoCommand::run(const COptions& options)
{
    if (options.has("--json") && options.has("--dot"))
        return COutcome::wrongUsage(KOR_FAIL("give either --json or --dot"));
    if (options.has("--dot") && !options.has("--graph"))
        return COutcome::wrongUsage(KOR_FAIL("--dot draws the graph; give --graph too"));
    double rate = 48000.0;
    MORVA_USAGE(options.readNumber("--rate", 8000.0, 768000.0, rate));
    int channels = 2;
    MORVA_USAGE(options.readInt("--channels", 1, 16, channels));
    if (!options.has("--graph"))
        return showPlugin(options, rate, channels);
    for (const COptionSpec& other : {CPluginSession::pluginOption, CPluginSession::programOption, CExtAssignments::option})
        if (options.has(other.name))
            return COutcome::wrongUsage(KOR_FAIL("option %1 does not go with --graph", other.name));
    return showGraph(options, rate, channels);
}

COutcome CInfoCommand::showPlugin(const COptions& options, double rate, int channels)
{
    CPluginSession session;
    if (COutcome outcome = session.open(options); outcome.error)
        return outcome;
    if (COutcome outcome = session.setUp(options, channels, channels); outcome.error)
        return outcome;
    CVst3Plugin& plugin = session.plugin();
    KOR_TRY(session.activate(options, {rate, 512, false, false}));
    return writeOut(options.has("--json") ? pluginAsJson(session.module(), plugin, rate)
                                          : pluginAsText(session.module(), plugin, rate));
}

COutcome CInfoCommand::showGraph(const COptions& options, double rate, int channels)
{
    CHostSettings settings;
    MORVA_USAGE(settings.read(options));
    CHostSession session;
    KOR_TRY(session.start());
    CAudioInstance& instance = session.instance();
    MORVA_USAGE(settings.resolve(instance));
    routeByDefault(instance, channels, channels);
    KOR_TRY(settings.give(options, instance));
    KOR_TRY(instance.start(channels, channels, rate));

    CInfoReport report;
    KOR_TRY(report.read(instance, rate, channels));
    return writeOut(options.has("--json") ? report.asJson() : options.has("--dot") ? report.asDot() : report.asText());
}

}
