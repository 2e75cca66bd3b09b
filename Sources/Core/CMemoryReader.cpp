// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CMemoryReader.h"

#include <algorithm>
#include <cstring>

namespace kor
{

void CMemoryReader::open(const void* block, std::size_t blockSize) noexcept
{
    data = static_cast<const unsigned char*>(block);
    size = static_cast<std::int64_t>(blockSize);
    position = 0;
}

const void* CMemoryReader::getDirectPointer()
{
    return position < size ? data + position : nullptr;
}

CError CMemoryReader::skip(std::int64_t count)
{
    if (count <= 0)
        return {};
    if (count > remaining())
        return KOR_FAIL("Premature end of memory resource while skipping (pos %1, count %2, size %3).", position, count,
                        size);
    position += count;
    return {};
}

CError CMemoryReader::read(void* buffer, std::int64_t count)
{
    if (count <= 0)
        return {};
    if (count > remaining())
        return KOR_FAIL("Premature end of memory resource while reading (pos %1, count %2, size %3).", position, count,
                        size);
    std::memcpy(buffer, data + position, static_cast<std::size_t>(count));
    position += count;
    return {};
}

CError CMemoryReader::readRef(void* buffer, std::int64_t& count)
{
    count = std::clamp<std::int64_t>(count, 0, remaining());
    return read(buffer, count);
}

CError CMemoryReader::getPosition(std::int64_t& result)
{
    result = position;
    return {};
}

CError CMemoryReader::setPosition(std::int64_t newPosition)
{
    if (newPosition < 0 || newPosition > size)
        return KOR_FAIL("Positioning beyond memory resource end (newpos %1, size %2).", newPosition, size);
    position = newPosition;
    return {};
}

CError CMemoryReader::getSize(std::int64_t& result)
{
    result = size;
    return {};
}

}
