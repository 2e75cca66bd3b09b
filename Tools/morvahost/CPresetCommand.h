// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CCommand.h"

namespace kor
{

// `preset`: presets, banks and lists as text, and back.
class CPresetCommand : public CCommand
{
public:
    const char* name() const override { return "preset"; }
    const char* summary() const override { return "turn presets, banks and lists into text and back"; }
    const char* usage() const override;
    std::span<const COptionSpec> options() const override;
    int maxWords() const override { return 3; }
    COutcome run(const COptions& options) override;

private:
    static COutcome dump(const std::string& path, const COptions& options);
    static COutcome make(const std::string& path, const std::string& out, const COptions& options);
};

}
