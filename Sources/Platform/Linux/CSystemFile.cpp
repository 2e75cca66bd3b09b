// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/CSystemFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace kor
{

namespace
{

constexpr std::size_t largestStep = std::size_t{1} << 30;   // the system itself stops below 2 GB a call

template <class Call>
int retried(Call call)
{
    while (call() < 0)
        if (errno != EINTR)
            return errno;
    return 0;
}

}

int CSystemFile::open(const std::string& path, Mode mode)
{
    close();
    if (path.find('\0') != std::string::npos)
        return EINVAL;
    const int flags = mode == Mode::read     ? O_RDONLY
                      : mode == Mode::update ? O_RDWR
                      : mode == Mode::create ? O_WRONLY | O_CREAT | O_TRUNC
                                             : O_WRONLY | O_CREAT | O_APPEND;
    int opened = -1;
    if (const int code = retried([&] { return opened = ::open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, 0666); }))
        return code;
    struct stat status;
    if (::fstat(opened, &status) == 0 && S_ISDIR(status.st_mode))
    {
        ::close(opened);
        return EISDIR;
    }
    handle = opened;
    return 0;
}

void CSystemFile::borrow(int standardStream)
{
    close();
    handle = standardStream;
    isBorrowed = true;
}

int CSystemFile::close()
{
    const int closed = std::exchange(handle, -1);
    if (std::exchange(isBorrowed, false) || closed < 0)
        return 0;
    return ::close(closed) < 0 && errno != EINTR ? errno : 0;   // Linux has let go of it even when interrupted
}

int CSystemFile::read(void* buffer, std::size_t count, std::size_t& done)
{
    done = 0;
    while (done < count)
    {
        const ssize_t got = ::read(handle, static_cast<char*>(buffer) + done, std::min(count - done, largestStep));
        if (got == 0)
            return 0;
        if (got > 0)
            done += static_cast<std::size_t>(got);
        else if (errno != EINTR)
            return errno;
    }
    return 0;
}

int CSystemFile::write(const void* buffer, std::size_t count, std::size_t& done)
{
    done = 0;
    while (done < count)
    {
        const ssize_t put = ::write(handle, static_cast<const char*>(buffer) + done,
                                    std::min(count - done, largestStep));
        if (put == 0)
            return 0;
        if (put > 0)
            done += static_cast<std::size_t>(put);
        else if (errno != EINTR)
            return errno;
    }
    return 0;
}

int CSystemFile::position(std::int64_t& position)
{
    const off_t at = ::lseek(handle, 0, SEEK_CUR);
    if (at < 0)
        return errno;
    position = at;
    return 0;
}

int CSystemFile::setPosition(std::int64_t position)
{
    return ::lseek(handle, position, SEEK_SET) < 0 ? errno : 0;
}

int CSystemFile::advance(std::int64_t count)
{
    return ::lseek(handle, count, SEEK_CUR) < 0 ? errno : 0;
}

int CSystemFile::size(std::int64_t& size)
{
    struct stat status;
    if (::fstat(handle, &status) < 0)
        return errno;
    size = status.st_size;
    return 0;
}

int CSystemFile::lock()
{
    return retried([this] { return ::flock(handle, LOCK_EX); });
}

int CSystemFile::tryLock()
{
    return retried([this] { return ::flock(handle, LOCK_EX | LOCK_NB); });
}

bool CSystemFile::isBusy(int code) noexcept
{
    return code == EWOULDBLOCK;
}

int CSystemFile::unlock()
{
    return retried([this] { return ::flock(handle, LOCK_UN); });
}

int CSystemFile::flush()
{
    return retried([this] { return ::fsync(handle); });
}

int CSystemFile::rename(const std::string& from, const std::string& to)
{
    if (::rename(from.c_str(), to.c_str()) < 0)
        return errno;
    // The new name itself is only durable once its directory is on the disk. File systems that cannot do that are
    // left as they are: the rename has happened.
    const std::size_t slash = to.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : to.substr(0, slash + 1);
    const int folder = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0)
    {
        ::fsync(folder);
        ::close(folder);
    }
    return 0;
}

int CSystemFile::remove(const std::string& path)
{
    return ::unlink(path.c_str()) < 0 ? errno : 0;
}

bool CSystemFile::isMissing(int code, const std::string& path)
{
    struct stat status;
    return (code == ENOENT || code == ENOTDIR) && !(::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode));
}

long CSystemFile::processId()
{
    return ::getpid();
}

}
