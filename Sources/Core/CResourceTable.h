// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringBuf.h"

#include <cstdint>

namespace kor
{

/// One embedded block as the build lays it out: a little-endian u32 byte count followed by that many bytes, and a
/// NUL-terminated name. A static array of these ends with a null block.
struct CResourceEntry
{
    const unsigned char* block;
    const char* name;
};

// The process-wide map from name to embedded block. Filled at the application's start, read-only from then on.
class CResourceTable
{
public:
    struct CBlock
    {
        const unsigned char* data;
        std::uint32_t size;
    };

    /// A name that is there already gets the new block. Null adds nothing.
    static void add(const CResourceEntry* table);

    /// Null when there is no such block.
    static const CBlock* find(const CStringBuf& name);
};

}
