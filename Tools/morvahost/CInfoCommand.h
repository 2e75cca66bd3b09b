// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CCommand.h"

namespace kor
{

// `info`: what an instance with given settings and channels runs.
class CInfoCommand : public CCommand
{
public:
    const char* name() const override { return "info"; }
    const char* summary() const override { return "show what settings make of the running graph"; }
    const char* usage() const override;
    std::span<const COptionSpec> options() const override;
    COutcome run(const COptions& options) override;
};

}
