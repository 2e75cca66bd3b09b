// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStream.h"

struct z_stream_s;

namespace kor
{

// Inflates one zlib stream that another stream delivers. Its end is the zlib stream's own end, where zlib compares its
// checksum: a source that stops earlier is a failure, however much has been read. The source is read 32,768 bytes at a
// time and is left somewhere behind the zlib stream.
class CInputZipStream : public CInputStream
{
public:
    CInputZipStream();
    ~CInputZipStream() override;
    CInputZipStream(const CInputZipStream&) = delete;
    CInputZipStream& operator=(const CInputZipStream&) = delete;

    /// Starts on `source`, which must live until close. An open stream is dropped first.
    CError open(CInputStream* source);
    CError close();

    CError read(void* buffer, std::int64_t count) override;
    CError readRef(void* buffer, std::int64_t& count) override;

private:
    void drop() noexcept;

    CInputStream* input = nullptr;
    z_stream_s* zip = nullptr;
    CByteArray buffered;
    bool isAtEnd = false;
};

}
