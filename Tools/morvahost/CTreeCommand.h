// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CCommand.h"

namespace kor
{

// `tree`: what a compiled tree holds.
class CTreeCommand : public CCommand
{
public:
    const char* name() const override { return "tree"; }
    const char* summary() const override { return "list the objects of a compiled tree"; }
    const char* usage() const override;
    std::span<const COptionSpec> options() const override { return {}; }
    int maxWords() const override { return 2; }
    COutcome run(const COptions& options) override;
};

}
