// SPDX-License-Identifier: GPL-3.0-or-later
#include "CParamsCommand.h"

#include "CPluginSession.h"
#include "CStateFile.h"
#include "PluginText.h"
#include "StandardOutput.h"

namespace kor
{

namespace
{

constexpr COptionSpec paramsOptions[] = {
    CHostSettings::setOption,
    CExtAssignments::option,
    CPluginSession::programOption,
    CStateFile::stateOption,
    CStateFile::programOption,
    {"--json", nullptr, "write JSON; values are from 0 to 1, as hosts have them"},
    CPluginSession::pluginOption,
};

}

const char* CParamsCommand::usage() const
{
    return "morvahost params [--json] [--plugin PATH] [--program N|NAME] [--set KEY[g,e]=TEXT]...\n"
           "\n"
           "Loads the plug-in and lists the parameters that it shows to hosts: name, value with these settings, default, and\n"
           "what a host may do with it. `render --ext NAME=TEXT` sets one, `render --automate` changes it over time.\n"
           "Example: morvahost params --program 3\n";
}

std::span<const COptionSpec> CParamsCommand::options() const
{
    return paramsOptions;
}

COutcome CParamsCommand::run(const COptions& options)
{
    CPluginSession session;
    if (COutcome outcome = session.open(options); outcome.error)
        return outcome;
    if (COutcome outcome = session.setUp(options, 2, 2); outcome.error)
        return outcome;
    const CVst3Plugin& plugin = session.plugin();
    return writeOut(options.has("--json") ? parametersAsJson(plugin) : parametersAsText(plugin));
}

}
