// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CCommand.h"
#include "CParamAssignments.h"

namespace kor
{

class CAudioInstance;

// What a command line wants the equalizer to be set to: a state (--state, --bank-program) and single values on top of it
// (--set). Reads the options first, then meets the instance, since what is wrong with a line should be told before any
// work begins.
class CHostSettings
{
public:
    static constexpr COptionSpec setOption = {"--set", "KEY[g,e]=TEXT",
                                              "give a parameter a value; any number of times, see `morvahost render --help`", true};

    /// A failure is wrong usage, as is one of resolve.
    CError read(const COptions& options);
    CError resolve(const CAudioInstance& instance) { return list.resolve(instance); }

    /// Loads the state, then gives the values; notes what is worth knowing on stderr.
    CError give(const COptions& options, CAudioInstance& instance);

    const CParamAssignments& assignments() const noexcept { return list; }
    CParamAssignments& assignments() noexcept { return list; }

    /// A line on stderr that is no failure.
    static void note(const std::string& text);

private:
    CParamAssignments list;
};

}
