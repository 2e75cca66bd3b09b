// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CFileWriter.h"

namespace kor
{

CError CFileWriter::open(const CStringBuf& path, Start start)
{
    const bool appends = start == Start::append;
    if (const int code = openAs(path, appends ? CSystemFile::Mode::append : CSystemFile::Mode::create))
        return KOR_FAIL("Unable to open file '%1' for %2 (error %3).", path, appends ? "appending" : "writing", code);
    return {};
}

CError CFileWriter::flush()
{
    if (const int code = file.flush())
        return KOR_FAIL("Unable to write to file '%1' (error %2).", fileName, code);
    return {};
}

CError CFileWriter::write(const void* buffer, std::int64_t count)
{
    if (count <= 0)
        return {};
    std::size_t done = 0;
    if (const int code = file.write(buffer, static_cast<std::size_t>(count), done))
        return KOR_FAIL("Unable to write to file '%1' (error %2).", fileName, code);
    if (done != static_cast<std::size_t>(count))
        return KOR_FAIL("Unable to write to file '%1' (required %2 bytes, written %3 bytes).", fileName, count, done);
    return {};
}

}
