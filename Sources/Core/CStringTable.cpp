// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CStringTable.h"

#include <cstring>

namespace kor
{

CError CStringTable::decode(std::shared_ptr<const CStringTable>& out, const unsigned char* pool, std::size_t poolSize,
                            std::uint32_t count)
{
    constexpr std::size_t offsetSize = 4;
    constexpr std::size_t maxSharing = 16;
    if (count > poolSize / offsetSize)
        return KOR_FAIL("@korstr_CStringTable_decode_Count Object tree has %1 strings in a pool of %2 bytes.", count,
                        poolSize);
    auto made = std::make_shared<CStringTable>();
    made->strings.reserve(count);
    const std::size_t textStart = offsetSize * count;
    std::size_t decoded = 0;
    for (std::uint32_t i = 0; i < count; ++i)
    {
        const unsigned char* place = pool + offsetSize * i;
        const std::size_t offset = static_cast<std::size_t>(place[0]) | static_cast<std::size_t>(place[1]) << 8 |
                                   static_cast<std::size_t>(place[2]) << 16 | static_cast<std::size_t>(place[3]) << 24;
        const void* end = offset >= textStart && offset < poolSize ? std::memchr(pool + offset, 0, poolSize - offset)
                                                                   : nullptr;
        if (end == nullptr)
            return KOR_FAIL("@korstr_CStringTable_decode_Offset String %1 of an object tree lies outside of its pool "
                            "(offset %2, size %3).", i, offset, poolSize);
        const std::size_t length = static_cast<std::size_t>(static_cast<const unsigned char*>(end) - (pool + offset));
        // Many offsets may share one long string; that must not multiply a small file into gigabytes.
        decoded += length;
        if (decoded > poolSize * maxSharing)
            return KOR_FAIL("@korstr_CStringTable_decode_Size Strings of an object tree overlap.");
        CEntry entry{CStringBuf::fromUtf8({reinterpret_cast<const char*>(pool + offset), length}), false, false};
        entry.neutral = entry.text.isEmpty() || entry.text.equals("false");
        entry.brace = entry.text.findChar(u'{') >= 0;
        made->strings.push_back(std::move(entry));
    }
    out = std::move(made);
    return {};
}

}
