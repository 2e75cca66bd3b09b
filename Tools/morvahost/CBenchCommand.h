// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CCommand.h"

namespace kor
{

// `bench`: what a plug-in costs.
class CBenchCommand : public CCommand
{
public:
    const char* name() const override { return "bench"; }
    const char* summary() const override { return "measure what the plug-in costs: load time, memory, processing"; }
    const char* usage() const override;
    std::span<const COptionSpec> options() const override;
    COutcome run(const COptions& options) override;
};

}
