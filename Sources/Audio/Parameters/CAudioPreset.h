// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAllocator.h"
#include "Core/CDataFormat.h"
#include "Core/CStream.h"

namespace kor
{

// A named set of stored parameters: for each key, which is a parameter's name below a registry's prefix, one opaque
// block that only the parameter itself reads. The name is "id:name", the id being that of the registry that it belongs
// to. One thread at a time.
class CAudioPreset
{
public:
    using CEntries = CMap<CStringBuf, CByteArray>; // by key, in string order

    static constexpr std::uint32_t fileId = fourCC("aprs");

    /// A data file that holds one preset.
    static CDataFormat format() noexcept;

    void clear();

    const CStringBuf& name() const noexcept { return fullName; }
    void setName(const CStringBuf& name) { fullName = name; }

    /// What stands before the first ":" of a preset's name, and behind it. A name without ":" has no id.
    static CStringBuf idOf(const CStringBuf& presetName);
    static CStringBuf titleOf(const CStringBuf& presetName);

    CEntries& entries() noexcept { return blocks; }
    const CEntries& entries() const noexcept { return blocks; }

    /// The body: name, number of entries, key and block of each.
    CError save(COutputStream& stream) const;

    /// Reads a body. Hostile input ends in an error and costs no more memory than the stream holds; on failure the
    /// preset is as before. Of a repeated key the last counts.
    CError load(CInputStream& stream);

    /// Reads a resource of this name, else a file, as a compressed block.
    CError loadFile(const CStringBuf& path);

private:
    CStringBuf fullName;
    CEntries blocks;
};

}
