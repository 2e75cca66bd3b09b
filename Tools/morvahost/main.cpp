// SPDX-License-Identifier: GPL-3.0-or-later
#include "CAnalyseCommand.h"
#include "CBenchCommand.h"
#include "CCurveCommand.h"
#include "CInfoCommand.h"
#include "CParamsCommand.h"
#include "CPresetCommand.h"
#include "CRenderCommand.h"
#include "CTreeCommand.h"
#include "CWatchCommand.h"
#include "NearNames.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

using namespace kor;

namespace
{

int finish(const COutcome& outcome)
{
    if (outcome.error)
    {
        // One line, whatever a file name or a value may hold.
        std::string text = outcome.error.message();
        for (char& c : text)
            if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
                c = '?';
        std::fprintf(stderr, "morvahost: %s\n", text.c_str());
    }
    return static_cast<int>(outcome.code);
}

std::string overview(const std::vector<CCommand*>& commands)
{
    std::string text = "MorvaEQ on the command line.\n\nusage: morvahost COMMAND [OPTION]...\n\n";
    for (const CCommand* command : commands)
    {
        std::string name = command->name();
        name.resize(10, ' ');
        text += "  " + name + command->summary() + '\n';
    }
    return text + "\n`morvahost COMMAND --help` tells the rest. Exit codes: 0 done, 1 failed, 2 wrong usage.\n";
}

}

int main(int argumentCount, char** arguments)
{
    CRenderCommand render;
    CCurveCommand curve;
    CAnalyseCommand analyse;
    CWatchCommand watch;
    CInfoCommand info;
    CParamsCommand params;
    CBenchCommand bench;
    CTreeCommand tree;
    CPresetCommand preset;
    const std::vector<CCommand*> commands = {&render, &curve, &analyse, &watch, &info, &params, &bench, &preset, &tree};

    const std::string word = argumentCount > 1 ? arguments[1] : "";
    if (word.empty())
        return finish(COutcome::wrongUsage(KOR_FAIL("give a command; `morvahost --help` lists them")));
    if (word == "--help" || word == "-h" || word == "help")
    {
        std::fputs(overview(commands).c_str(), stdout);
        return 0;
    }
    if (word == "--version")
    {
        std::puts("morvahost " MORVA_VERSION);
        return 0;
    }

    std::vector<std::string> names;
    for (CCommand* command : commands)
    {
        names.emplace_back(command->name());
        if (word != command->name())
            continue;
        COptions options(command->options(), command->maxWords());
        if (CError wrong = options.parse({arguments + 2, arguments + argumentCount}))
            return finish(COutcome::wrongUsage(std::move(wrong)));
        if (options.wantsHelp())
        {
            std::printf("usage: %s\n%s", command->usage(), COptions::helpText(command->options()).c_str());
            return 0;
        }
        return finish(command->run(options));
    }
    return finish(COutcome::wrongUsage(
        KOR_FAIL("unknown command '%1'%2", word, nearNameHint(word, names, "; `morvahost --help` lists them"))));
}
