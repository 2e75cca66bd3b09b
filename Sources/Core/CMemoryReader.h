// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStream.h"

#include <span>

namespace kor
{

// Reads a block of memory that it does not own; the block must outlive it.
class CMemoryReader : public CPosInputStream
{
public:
    CMemoryReader() = default;
    CMemoryReader(const void* block, std::size_t blockSize) { open(block, blockSize); }
    explicit CMemoryReader(std::span<const unsigned char> block) { open(block.data(), block.size()); }

    /// Starts over on another block.
    void open(const void* block, std::size_t blockSize) noexcept;

    /// Bytes from the position to the end.
    std::int64_t remaining() const noexcept { return size - position; }

    /// Null at the end.
    const void* getDirectPointer() override;

    CError skip(std::int64_t count) override;
    CError read(void* buffer, std::int64_t count) override;
    CError readRef(void* buffer, std::int64_t& count) override;
    CError getPosition(std::int64_t& result) override;
    CError setPosition(std::int64_t newPosition) override;
    CError getSize(std::int64_t& result) override;

private:
    const unsigned char* data = nullptr;
    std::int64_t size = 0;
    std::int64_t position = 0;
};

}
