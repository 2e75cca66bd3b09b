// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CBridgeTable.h"

#include <array>
#include <cstdint>

namespace kor
{

CBridgeTable::CBucket& CBridgeTable::bucketOf(const CBridgeBase* source)
{
    static std::array<CBucket, 64>& buckets = *new std::array<CBucket, 64>;
    const auto address = reinterpret_cast<std::uintptr_t>(source);
    return buckets[(address >> 4 ^ address >> 12 ^ address >> 20 ^ address >> 28) & 63];
}

}
