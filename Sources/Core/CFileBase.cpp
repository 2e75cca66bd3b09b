// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CFileBase.h"

#include <utility>

namespace kor
{

int CFileBase::openAs(const CStringBuf& path, CSystemFile::Mode mode)
{
    close().ignore();
    fileName = path;
    const char* const standardStreams[] = {"stdin", "stdout", "stderr"};
    for (int i = 0; i < 3; ++i)
        if (path.equals(standardStreams[i]))
        {
            file.borrow(i);
            return 0;
        }
    return file.open(path.toUtf8(), mode);
}

CError CFileBase::close()
{
    CError result;
    if (std::exchange(isLocked, false))
        if (const int code = file.unlock())
            result = KOR_FAIL("Unable to unlock file '%1' (error %2).", fileName, code);
    if (const int code = file.close(); code != 0 && !result)
        result = KOR_FAIL("Unable to close file '%1' (error %2).", fileName, code);
    return result;
}

CError CFileBase::filePosition(std::int64_t& position)
{
    if (const int code = file.position(position))
        return KOR_FAIL("Unable to get file's '%1' position (error %2).", fileName, code);
    return {};
}

CError CFileBase::setFilePosition(std::int64_t position)
{
    if (const int code = file.setPosition(position))
        return KOR_FAIL("Unable to set file's '%1' position to %2 (error %3).", fileName, position, code);
    return {};
}

CError CFileBase::fileSize(std::int64_t& size)
{
    if (const int code = file.size(size))
        return KOR_FAIL("Unable to get file's '%1' size (error %2).", fileName, code);
    return {};
}

}
