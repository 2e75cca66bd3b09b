// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PresetText/CPresetFile.h"
#include "PresetText/CPresetScanner.h"

#include <set>
#include <string>
#include <string_view>

namespace kor
{

// Reads presets from their text form, which Gfx/Presets/README.md describes. Needs the shared tree for units and states.
class CPresetTextReader
{
public:
    /// `fileName` is what mistakes are reported under. Both must outlive the object.
    CPresetTextReader(const std::string& fileName, std::string_view text) : scanner(fileName, text) {}

    /// Once. A mistake ends it as "FILE:LINE: what is wrong" and leaves `out` untouched.
    CError read(CPresetFile& out);

private:
    CError readHead(const std::string& word);
    CError readEntry(const CStringBuf& key);
    CError charge(std::size_t bytes);
    CError endOfLine();

    CPresetScanner scanner;
    CPresetFile file;
    CAudioPreset* preset = nullptr;             // that entries go to
    std::set<CStringBuf> keys;                  // of the preset's own lines
    std::size_t made = 0;
    bool isBegun = false;
};

}
