// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CExtAssignments.h"
#include "CHostSession.h"
#include "CHostSettings.h"
#include "CRunStore.h"

#include "Vst3Host/CHostApplication.h"
#include "Vst3Host/CVst3Module.h"
#include "Vst3Host/CVst3Plugin.h"

#include <memory>
#include <set>

namespace kor
{

// A plug-in as a command line names it and sets it up. The equalizer is driven through its host interface like any other;
// what no host parameter reaches, --set and --state give it as a state, made beside it in an instance that has no part in
// the sound, and what all instances share as a settings store that is placed before it is loaded.
class CPluginSession
{
public:
    static constexpr COptionSpec pluginOption = {"--plugin", "PATH",
                                                 "any VST 3 effect: a bundle's path or name (default MorvaEQ)"};
    static constexpr COptionSpec programOption = {"--program", "N|NAME", "begin with a program of the plug-in, from 0"};

    /// Reads the options above, --set, --state and --ext, and loads the plug-in.
    COutcome open(const COptions& options);

    /// What the equalizer's --set resolves by; null for other plug-ins.
    const CAudioInstance* instance() const noexcept { return isEqualizer ? &shadow.instance() : nullptr; }

    /// The settings of the command line, to which more can be added before setUp().
    CParamAssignments& assignments() noexcept { return settings.assignments(); }
    CExtAssignments& extAssignments() noexcept { return ext; }

    /// Layout, program, state, settings, host parameters: everything that holds before the first block. Notes what is
    /// worth knowing on stderr.
    COutcome setUp(const COptions& options, int inputs, int outputs);

    /// Makes the plug-in ready for the first block, and writes its state to the file of --save-state if that is given.
    CError activate(const COptions& options, const CVst3Setup& setup);

    // After open().
    CVst3Module& module() noexcept { return library; }
    CVst3Plugin& plugin() noexcept { return effect; }
    CHostApplication& application() noexcept { return host; }

    // Of the equalizer, after setUp(); nothing of other plug-ins.

    /// Groups of the channels that come in; / channels of `count` that nothing comes out of, from 0.
    std::set<int> usedGroups(int inputs) const;
    std::vector<int> silentOutputs(int count) const;

private:
    COutcome chooseProgram(const COptions& options);
    CError giveState(const COptions& options);
    CError giveForeignState(const COptions& options);

    CRunStore store;
    CHostSession shadow;
    CHostApplication host;
    CVst3Module library;
    CVst3Plugin effect{host};
    CHostSettings settings;
    CExtAssignments ext;
    bool isEqualizer = false;
};

}
