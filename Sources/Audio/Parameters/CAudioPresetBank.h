// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioPreset.h"

#include <memory>

namespace kor
{

// Presets in the order of their file, under a name of their own. One thread at a time.
class CAudioPresetBank
{
public:
    static constexpr std::uint32_t fileId = fourCC("abnk");
    static constexpr std::uint32_t listId = fourCC("alst"); // a data file of several banks

    /// A data file that holds a list of banks.
    static CDataFormat listFormat() noexcept;

    CAudioPresetBank() = default;
    CAudioPresetBank(const CAudioPresetBank& other);
    CAudioPresetBank(CAudioPresetBank&& other) noexcept = default;
    CAudioPresetBank& operator=(const CAudioPresetBank& other);
    CAudioPresetBank& operator=(CAudioPresetBank&& other) noexcept = default;

    CStringBuf name;

    std::size_t size() const noexcept { return presets.size(); }
    CAudioPreset& preset(std::size_t index) const noexcept { return *presets[index]; }
    CAudioPreset& append();
    void clear();

    /// The body: name, number of presets, the presets. load: as that of a preset.
    CError save(COutputStream& stream) const;
    CError load(CInputStream& stream);

    /// Empties the bank, then reads a resource of this name, else a file, as a compressed block.
    CError loadFile(const CStringBuf& path);

    /// The body of a list: number of banks, the banks.
    static CError saveList(COutputStream& stream, const CArray<CAudioPresetBank>& banks);
    static CError loadList(CInputStream& stream, CArray<CAudioPresetBank>& banks);

private:
    CArray<std::unique_ptr<CAudioPreset>> presets;
};

}
