// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStream.h"

namespace kor
{

// A growing output stream in memory, for a block of data whose size is only known at its end. Chunks of a fixed size
// are filled one after another and never moved; getContents gathers them.
class CWriteSeqBuffer : public COutputStream
{
public:
    explicit CWriteSeqBuffer(std::size_t chunkSize = 2048);

    CError write(const void* buffer, std::int64_t count) override;

    std::int64_t size() const noexcept { return written; }

    /// Puts everything written so far into `out`, in place of what was there.
    void getContents(CByteArray& out) const;
    CByteArray getContents() const;

    /// Forgets everything.
    void clear();

private:
    std::size_t chunkBytes;
    CArray<CByteArray> chunks;                      // all full but the last
    std::int64_t written = 0;
};

}
