// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStream.h"

namespace kor
{

// What a data file of one kind holds: the id of its compressed block and, if the kind has an inner form, what tells
// whether contents keep to it. A file that does not is as good as damaged, and the next place is looked at.
struct CDataFormat
{
    using CCheck = CError (*)(const CByteArray& contents);

    constexpr CDataFormat(std::uint32_t blockId, CCheck contentCheck = nullptr) : id(blockId), check(contentCheck) {}

    std::uint32_t id;
    CCheck check;                                   // not asked about empty contents, which are good for any kind
};

}
