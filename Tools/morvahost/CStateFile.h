// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CCommand.h"

namespace kor
{

class CAudioInstance;

// The options --state, --bank-program and --save-state: the equalizer's state from a file that holds a preset or a bank,
// and into one.
class CStateFile
{
public:
    static constexpr COptionSpec stateOption = {"--state", "FILE", "begin with a project's state or a preset"};
    static constexpr COptionSpec programOption = {"--bank-program", "N",
                                                  "the state file is a bank; take its program N, from 0"};

    /// Checks that the options go together.
    static CError check(const COptions& options);

    /// Loads what --state names, if it is given; a bank's program is applied as a preset is.
    static CError load(const COptions& options, CAudioInstance& instance);

    /// Writes the present state to the file that --save-state names, if it is given.
    static CError save(const COptions& options, CAudioInstance& instance);
};

}
