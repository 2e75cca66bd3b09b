// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CCommand.h"

namespace kor
{

// `info`: what a host learns of the plug-in, or what an instance of the equalizer with given settings and channels runs.
class CInfoCommand : public CCommand
{
public:
    const char* name() const override { return "info"; }
    const char* summary() const override { return "tell what the plug-in is, or what settings make of its running graph"; }
    const char* usage() const override;
    std::span<const COptionSpec> options() const override;
    COutcome run(const COptions& options) override;

private:
    COutcome showPlugin(const COptions& options, double rate, int channels);
    COutcome showGraph(const COptions& options, double rate, int channels);
};

}
