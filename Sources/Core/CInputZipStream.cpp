// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CInputZipStream.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <zlib.h>

namespace kor
{

namespace
{

constexpr std::int64_t bufferBytes = 32768;

const char* textOf(const z_stream& zip, int code) noexcept
{
    return zip.msg != nullptr ? zip.msg : zError(code);
}

}

CInputZipStream::CInputZipStream() = default;

CInputZipStream::~CInputZipStream()
{
    drop();
}

void CInputZipStream::drop() noexcept
{
    if (zip != nullptr)
    {
        inflateEnd(zip);
        delete std::exchange(zip, nullptr);
    }
    input = nullptr;
}

CError CInputZipStream::open(CInputStream* source)
{
    drop();
    if (source == nullptr)
        return KOR_FAIL("Input stream not specified.");
    auto* fresh = new z_stream{};
    if (const int code = inflateInit(fresh); code != Z_OK)
    {
        CError failure = KOR_FAIL("zlib inflateInit error %1 (%2).", code, textOf(*fresh, code));
        delete fresh;
        return failure;
    }
    zip = fresh;
    input = source;
    isAtEnd = false;
    buffered.resize(bufferBytes);
    return {};
}

CError CInputZipStream::close()
{
    if (zip == nullptr)
        return {};
    CError result;
    if (const int code = inflateEnd(zip); code != Z_OK)
        result = KOR_FAIL("zlib inflateEnd error %1 (%2).", code, textOf(*zip, code));
    delete std::exchange(zip, nullptr);
    input = nullptr;
    return result;
}

CError CInputZipStream::read(void* buffer, std::int64_t count)
{
    if (count <= 0)
        return {};
    std::int64_t got = count;
    KOR_TRY(readRef(buffer, got));
    if (got != count)
        return KOR_FAIL("Premature end of file.");
    return {};
}

CError CInputZipStream::readRef(void* buffer, std::int64_t& count)
{
    const std::int64_t wanted = std::max<std::int64_t>(count, 0);
    count = 0;
    if (zip == nullptr)
        return KOR_FAIL("Input stream not specified.");
    std::int64_t done = 0;
    while (done < wanted && !isAtEnd)
    {
        if (zip->avail_in == 0)
        {
            std::int64_t got = bufferBytes;
            KOR_TRY(input->readRef(buffered.data(), got));
            if (got <= 0)
                return KOR_FAIL("Premature end of file.");
            zip->next_in = buffered.data();
            zip->avail_in = static_cast<uInt>(got);
        }
        const auto room = static_cast<uInt>(std::min<std::int64_t>(wanted - done, std::numeric_limits<int>::max()));
        zip->next_out = static_cast<Bytef*>(buffer) + done;
        zip->avail_out = room;
        const int code = inflate(zip, Z_NO_FLUSH);
        done += room - zip->avail_out;
        if (code == Z_STREAM_END)
            isAtEnd = true;
        else if (code != Z_OK && code != Z_BUF_ERROR)      // the latter only asks for more input
            return KOR_FAIL("zlib inflate error %1 (%2).", code, textOf(*zip, code));
    }
    count = done;
    return {};
}

}
