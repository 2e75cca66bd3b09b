// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamRequest.h"
#include "Core/CStream.h"

#include <span>

namespace kor
{

// The stored values of one parameter, spread out as they lie in a preset's block: nothing is translated, so that a
// block that was read and is written again has the same bytes.
class CPresetBlock
{
public:
    struct CItem
    {
        std::uint32_t id = 0;
        CAudioParamType type = CAudioParamType::string;
        CStringBuf text;                // of a text item
        CByteArray bytes;               // of an item of bytes
    };
    using CGroup = CArray<double>;      // elements x elementSize numbers, or the ids of items

    CStringBuf path;                    // name of the definition
    int elementSize = 1;                // 1 to 4
    CAudioParamType type = CAudioParamType::real;
    CArray<CItem> items;
    CArray<CGroup> groups;              // at most as many, and as long, as a parameter has

    /// False for bytes that no writer of ours makes: another version, sizes beyond all limits, something behind the
    /// end, broken UTF-8. The block is then of no use.
    bool read(std::span<const unsigned char> bytes);

    CError write(COutputStream& stream) const;
    CError write(CByteArray& out) const;

    /// True when each element has an item of its own, of the block's type, and the table is in the elements' order with
    /// ids from 1.
    bool hasPlainItems() const noexcept;

private:
    CError readParts(CInputStream& stream);
    CError readItems(CInputStream& stream);
    CError readGroup(CInputStream& stream);
};

}
