// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/COutputZipStream.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <zlib.h>

namespace kor
{

namespace
{

constexpr std::size_t bufferBytes = 32768;

const char* textOf(const z_stream& zip, int code) noexcept
{
    return zip.msg != nullptr ? zip.msg : zError(code);
}

}

COutputZipStream::COutputZipStream() = default;

COutputZipStream::~COutputZipStream()
{
    drop();
}

void COutputZipStream::drop() noexcept
{
    if (zip != nullptr)
    {
        deflateEnd(zip);
        delete std::exchange(zip, nullptr);
    }
    output = nullptr;
}

CError COutputZipStream::open(COutputStream* target)
{
    drop();
    if (target == nullptr)
        return KOR_FAIL("Output stream not specified.");
    auto* fresh = new z_stream{};
    if (const int code = deflateInit(fresh, Z_DEFAULT_COMPRESSION); code != Z_OK)
    {
        CError failure = KOR_FAIL("zlib deflateInit error %1 (%2).", code, textOf(*fresh, code));
        delete fresh;
        return failure;
    }
    zip = fresh;
    output = target;
    buffered.resize(bufferBytes);
    return {};
}

CError COutputZipStream::deflateAll(int flush)
{
    int code = Z_OK;
    do
    {
        zip->next_out = buffered.data();
        zip->avail_out = static_cast<uInt>(bufferBytes);
        code = deflate(zip, flush);
        if (code != Z_OK && code != Z_STREAM_END && code != Z_BUF_ERROR)    // the latter: nothing was left to do
            return KOR_FAIL("zlib deflate error %1 (%2).", code, textOf(*zip, code));
        if (const std::size_t made = bufferBytes - zip->avail_out; made != 0)
            KOR_TRY(output->write(buffered.data(), static_cast<std::int64_t>(made)));
    } while (zip->avail_out == 0 || (flush == Z_FINISH && code == Z_OK));
    return {};
}

CError COutputZipStream::write(const void* buffer, std::int64_t count)
{
    if (zip == nullptr)
        return KOR_FAIL("Output stream not specified.");
    const Bytef* from = static_cast<const Bytef*>(buffer);
    while (count > 0)
    {
        const std::int64_t step = std::min<std::int64_t>(count, std::numeric_limits<int>::max());
        zip->next_in = const_cast<Bytef*>(from);
        zip->avail_in = static_cast<uInt>(step);
        KOR_TRY(deflateAll(Z_NO_FLUSH));
        from += step;
        count -= step;
    }
    return {};
}

CError COutputZipStream::close()
{
    if (zip == nullptr)
        return {};
    CError result = deflateAll(Z_FINISH);
    if (const int code = deflateEnd(zip); code != Z_OK && !result)
        result = KOR_FAIL("zlib deflateEnd error %1 (%2).", code, textOf(*zip, code));
    delete std::exchange(zip, nullptr);
    output = nullptr;
    return result;
}

}
