// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStream.h"

struct z_stream_s;

namespace kor
{

// Deflates into another stream as one zlib stream of the default level. Only close() ends the zlib stream; without it
// what was written cannot be read back.
class COutputZipStream : public COutputStream
{
public:
    COutputZipStream();
    ~COutputZipStream() override;
    COutputZipStream(const COutputZipStream&) = delete;
    COutputZipStream& operator=(const COutputZipStream&) = delete;

    /// Starts on `target`, which must live until close. An open stream is dropped first.
    CError open(COutputStream* target);

    /// Writes the rest and the checksum. Does nothing when not open.
    CError close();

    CError write(const void* buffer, std::int64_t count) override;

private:
    void drop() noexcept;
    CError deflateAll(int flush);

    COutputStream* output = nullptr;
    z_stream_s* zip = nullptr;
    CByteArray buffered;
};

}
