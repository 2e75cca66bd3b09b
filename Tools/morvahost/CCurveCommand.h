// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CCommand.h"

namespace kor
{

// `curve`: the magnitude response of the chain, as numbers or as a picture.
class CCurveCommand : public CCommand
{
public:
    const char* name() const override { return "curve"; }
    const char* summary() const override { return "the frequency response of the settings, as JSON, CSV or SVG"; }
    const char* usage() const override;
    std::span<const COptionSpec> options() const override;
    COutcome run(const COptions& options) override;
};

}
