// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CCommand.h"

namespace kor
{

// `morvahost analyse`: what the displays show while a recording runs through the equalizer, as numbers or a picture.
class CAnalyseCommand : public CCommand
{
public:
    const char* name() const override { return "analyse"; }
    const char* summary() const override { return "a recording's spectrum and levels behind the equalizer, as JSON or SVG"; }
    const char* usage() const override;
    std::span<const COptionSpec> options() const override;
    int maxWords() const override { return 1; }
    COutcome run(const COptions& options) override;
};

}
