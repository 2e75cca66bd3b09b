// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamData.h"

// The stored form of a table of texts or bytes, as blocks of presets and messages have it: a count, then the items, each
// with an id of its own within the block.
namespace kor
{

/// Id within a block -> id in the table that the block was read into.
using CAudioParamDataIds = CMap<std::uint32_t, int>;

/// Reads count and items, each with one use in `table`. Of a repeated id the last one wins. Memory is taken as bytes
/// arrive. On failure the table has what was read so far.
CError readDataItems(CInputStream& stream, CAudioParamData& table, CAudioParamDataIds& ids);

/// One item under this id.
CError writeDataItem(COutputStream& stream, std::uint32_t id, const CAudioParamDataItem& item);

}
