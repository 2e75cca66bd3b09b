// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CFileReader.h"

#include <algorithm>

namespace kor
{

CError CFileReader::open(const CStringBuf& path, Use use)
{
    const bool forUpdate = use == Use::update;
    const int code = openAs(path, forUpdate ? CSystemFile::Mode::update : CSystemFile::Mode::read);
    isMissing = CSystemFile::isMissing(code, path.toUtf8());
    if (code != 0)
        return KOR_FAIL("Unable to open file '%1' for reading (error %2).", path, code);
    // Some file systems know no locks; the file is of use without one.
    isLocked = forUpdate && file.lock() == 0;
    return {};
}

CError CFileReader::skip(std::int64_t count)
{
    if (count <= 0)
        return {};
    // A file would let its position run past its end, and a pipe has none: both are asked for the bytes instead.
    std::int64_t position = 0;
    std::int64_t size = 0;
    if (file.position(position) != 0 || file.size(size) != 0 || count > size - position)
        return CInputStream::skip(count);
    if (const int code = file.advance(count))
        return KOR_FAIL("Unable to increment file's '%1' position by %2 (error %3).", fileName, count, code);
    return {};
}

CError CFileReader::read(void* buffer, std::int64_t count)
{
    if (count <= 0)
        return {};
    std::int64_t got = count;
    KOR_TRY(readRef(buffer, got));
    if (got != count)
        return KOR_FAIL("Unable to read from file '%1' (required %2 bytes, read %3 bytes).", fileName, count, got);
    return {};
}

CError CFileReader::readRef(void* buffer, std::int64_t& count)
{
    const auto wanted = static_cast<std::size_t>(std::max<std::int64_t>(count, 0));
    std::size_t done = 0;
    const int code = file.read(buffer, wanted, done);
    count = static_cast<std::int64_t>(done);
    if (code != 0)
        return KOR_FAIL("Unable to read from file '%1' (error %2).", fileName, code);
    return {};
}

}
