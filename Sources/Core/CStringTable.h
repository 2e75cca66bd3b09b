// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringBuf.h"

#include <cstdint>
#include <memory>

namespace kor
{

// The decoded strings of one compiled tree. Counted: every template of the tree holds it. It never changes once made,
// so that trees on several threads may read it.
class CStringTable
{
public:
    /// Decodes `count` NUL-terminated UTF-8 strings of a pool that begins with their offsets. Every offset and end is
    /// checked; on failure `out` is untouched.
    static CError decode(std::shared_ptr<const CStringTable>& out, const unsigned char* pool, std::size_t poolSize,
                         std::uint32_t count);

    std::size_t count() const noexcept { return strings.size(); }
    const CStringBuf& text(std::size_t index) const noexcept { return strings[index].text; }

    /// True for "" and "false": as attribute values they stand for absence.
    bool isNeutral(std::size_t index) const noexcept { return strings[index].neutral; }

    /// True when the string may hold an expression.
    bool hasBrace(std::size_t index) const noexcept { return strings[index].brace; }

private:
    struct CEntry
    {
        CStringBuf text;
        bool neutral;
        bool brace;
    };

    CArray<CEntry> strings;
};

}
