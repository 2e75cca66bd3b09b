// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CCommand.h"

namespace kor
{

// `params`: what a host can set and automate.
class CParamsCommand : public CCommand
{
public:
    const char* name() const override { return "params"; }
    const char* summary() const override { return "list the parameters that hosts see"; }
    const char* usage() const override;
    std::span<const COptionSpec> options() const override;
    COutcome run(const COptions& options) override;
};

}
