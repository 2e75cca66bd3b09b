// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CCommand.h"

namespace kor
{

// `render`: a recording through the running graph into a WAV file.
class CRenderCommand : public CCommand
{
public:
    const char* name() const override { return "render"; }
    const char* summary() const override { return "equalize a sound file"; }
    const char* usage() const override;
    std::span<const COptionSpec> options() const override;
    COutcome run(const COptions& options) override;
};

}
