// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStream.h"

#include <algorithm>
#include <cstring>

namespace kor::test
{

// Bytes as a sink and as a source, so that stored forms are tested without files.
class CMemoryOut : public COutputStream
{
public:
    CError write(const void* buffer, std::int64_t count) override
    {
        const auto* from = static_cast<const unsigned char*>(buffer);
        bytes.insert(bytes.end(), from, from + count);
        return {};
    }
    CByteArray bytes;
};

class CMemoryIn : public CInputStream
{
public:
    explicit CMemoryIn(CByteArray content) : bytes(std::move(content)) {}
    CError read(void* buffer, std::int64_t count) override
    {
        if (count > static_cast<std::int64_t>(bytes.size() - position))
            return KOR_FAIL("end");
        std::memcpy(buffer, bytes.data() + position, static_cast<std::size_t>(count));
        position += static_cast<std::size_t>(count);
        return {};
    }
    CError readRef(void* buffer, std::int64_t& count) override
    {
        count = std::min(count, static_cast<std::int64_t>(bytes.size() - position));
        return read(buffer, count);
    }
    std::size_t left() const { return bytes.size() - position; }

private:
    CByteArray bytes;
    std::size_t position = 0;
};

}
