// SPDX-License-Identifier: GPL-3.0-or-later
#include "Fuzz/FuzzTargets.h"

#include "Audio/Plugin/AudioCreators.h"
#include "Core/CApplication.h"
#include "MorvaResources.h"
#include "Support/CFreshDataFolders.h"

#include <cstdio>
#include <cstdlib>

namespace kor::test
{

std::span<const CFuzzTarget> fuzzTargets()
{
    static const CFuzzTarget targets[] = {
        {"Block", fuzzBlock, blockSeeds},
        {"Tree", fuzzTree, treeSeeds},
        {"Preset", fuzzPreset, presetSeeds},
        {"Bank", fuzzBank, bankSeeds},
        {"List", fuzzList, listSeeds},
        {"PresetText", fuzzPresetText, presetTextSeeds},
        {"State", fuzzState, stateSeeds},
        {"Interface", fuzzInterface, interfaceSeeds},
        {"Viz", fuzzViz, vizSeeds},
    };
    return targets;
}

void startForFuzzing()
{
    static const CFreshDataFolders folders;
    static const bool isStarted = []
    {
        CApplicationSetup setup;
        setup.creators = allCreators();
        setup.resources = morvaResources;
        return !CApplication::initApplication(setup) && CApplication::getSharedRoot() != nullptr;
    }();
    require(isStarted, "the application starts");
}

void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "Fuzzing: this does not hold: %s\n", what);
    std::abort();
}

}
