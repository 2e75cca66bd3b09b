// SPDX-License-Identifier: GPL-3.0-or-later
#include "CInfoCommand.h"

#include "CHostSession.h"
#include "CHostSettings.h"
#include "CInfoReport.h"
#include "CStateFile.h"
#include "DefaultRouting.h"

#include <cstdio>

namespace kor
{

namespace
{

constexpr COptionSpec infoOptions[] = {
    CHostSettings::setOption,
    CStateFile::stateOption,
    CStateFile::programOption,
    {"--rate", "R", "sample rate in Hz, 8000 to 768000 (default 48000)"},
    {"--channels", "N", "channels of the host, 1 to 16 (default 2)"},
    {"--json", nullptr, "write JSON; groups, channels and bands count from 0, `from` is an index into the same list,\n"
                        "null for what the container gets"},
    {"--dot", nullptr, "write a picture for Graphviz: morvahost info --dot | dot -Tsvg >graph.svg"},
};

}

const char* CInfoCommand::usage() const
{
    return "morvahost info [--set KEY[g,e]=TEXT]... [--rate R] [--channels N] [--json | --dot]\n"
           "\n"
           "Shows what runs with these settings: channels, groups and their bands, latency, and the nodes of the graph\n"
           "in the order in which they run; below a node what runs inside it. In brackets stands what feeds a node from\n"
           "more than one place, port by port; `input` is what the container of the node gets. --json and --dot tell all\n"
           "links. Samples count at the host's rate.\n"
           "    Bypass [0: OutGain, 1: InRouter delayed 386]    the second port waits for the first\n"
           "    LatencyUniformer (+116)                         adds latency\n"
           "Example: morvahost info --set oversampling=2x --set 'io-params.ms-pairs[0,0]=MS1' \\\n"
           "                        --set 'io-params.ms-pairs[0,1]=MS1'\n";
}

std::span<const COptionSpec> CInfoCommand::options() const
{
    return infoOptions;
}

COutcome CInfoCommand::run(const COptions& options)
{
    if (options.has("--json") && options.has("--dot"))
        return COutcome::wrongUsage(KOR_FAIL("give either --json or --dot"));
    double rate = 48000.0;
    MORVA_USAGE(options.readNumber("--rate", 8000.0, 768000.0, rate));
    int channels = 2;
    MORVA_USAGE(options.readInt("--channels", 1, 16, channels));
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
    const std::string text = options.has("--json") ? report.asJson()
                             : options.has("--dot") ? report.asDot()
                                                    : report.asText();
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        return KOR_FAIL("unable to write to standard output");
    return {};
}

}
