// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/COutputFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace kor
{

bool writeOutputFile(const std::string& path, const void* bytes, std::size_t size, std::string& reason)
{
    const std::string unfinished = path + ".unfinished";
    std::FILE* const file = std::fopen(unfinished.c_str(), "wb");
    if (file == nullptr)
    {
        reason = std::strerror(errno);
        return false;
    }
    errno = 0;
    const bool isWritten = size == 0 || std::fwrite(bytes, 1, size, file) == size;
    const bool isClosed = std::fclose(file) == 0;
    if (isWritten && isClosed && std::rename(unfinished.c_str(), path.c_str()) == 0)
        return true;
    reason = std::strerror(errno);
    std::remove(unfinished.c_str());
    return false;
}

}
