// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioPreset.h"
#include "Core/CError.h"
#include "Core/CMemoryReader.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>

namespace kor::test
{

// What one stored block of a preset says, taken apart byte by byte, apart from the code of the program that does so.
struct CPresetContent
{
    std::string path;
    std::uint32_t elementSize = 0;
    nlohmann::json groups;          // a list for each group; texts and bytes as strings

    /// Fails unless the block is whole and nothing is left over.
    CError read(const CByteArray& block);
};

/// What a preset holds under a key; a key that is missing or broken fails the test and gives nothing.
inline nlohmann::json valuesOf(const CAudioPreset& preset, const std::string& key)
{
    const auto entry = preset.entries().find(CStringBuf(std::string_view(key)));
    CPresetContent content;
    const bool isWhole = entry != preset.entries().end() && !content.read(entry->second);
    EXPECT_TRUE(isWhole) << preset.name().toUtf8() << ' ' << key;
    return content.groups;
}

}
