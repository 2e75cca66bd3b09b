// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CCommand.h"

namespace kor
{

// `morvahost watch`: meters and a spectrum in the terminal while a recording runs through the equalizer.
class CWatchCommand : public CCommand
{
public:
    const char* name() const override { return "watch"; }
    const char* summary() const override { return "meters and a spectrum in the terminal while a recording runs"; }
    const char* usage() const override;
    std::span<const COptionSpec> options() const override;
    int maxWords() const override { return 1; }
    COutcome run(const COptions& options) override;
};

}
