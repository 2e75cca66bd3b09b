// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CWriteSeqBuffer.h"

#include <algorithm>

namespace kor
{

CWriteSeqBuffer::CWriteSeqBuffer(std::size_t chunkSize) : chunkBytes(std::max<std::size_t>(chunkSize, 1))
{
}

CError CWriteSeqBuffer::write(const void* buffer, std::int64_t count)
{
    const auto* from = static_cast<const unsigned char*>(buffer);
    while (count > 0)
    {
        if (chunks.empty() || chunks.back().size() == chunkBytes)
            chunks.emplace_back().reserve(chunkBytes);
        CByteArray& chunk = chunks.back();
        const auto step = static_cast<std::int64_t>(
            std::min<std::uint64_t>(static_cast<std::uint64_t>(count), chunkBytes - chunk.size()));
        chunk.insert(chunk.end(), from, from + step);
        from += step;
        count -= step;
        written += step;
    }
    return {};
}

void CWriteSeqBuffer::getContents(CByteArray& out) const
{
    out.clear();
    out.reserve(static_cast<std::size_t>(written));
    for (const CByteArray& chunk : chunks)
        out.insert(out.end(), chunk.begin(), chunk.end());
}

CByteArray CWriteSeqBuffer::getContents() const
{
    CByteArray out;
    getContents(out);
    return out;
}

void CWriteSeqBuffer::clear()
{
    chunks.clear();
    written = 0;
}

}
