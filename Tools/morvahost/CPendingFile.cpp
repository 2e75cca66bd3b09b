// SPDX-License-Identifier: GPL-3.0-or-later
#include "CPendingFile.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kor
{

CPendingFile::~CPendingFile()
{
    if (file >= 0)
        ::close(file);
    if (!passing.empty())
        ::unlink(passing.c_str());
}

CError CPendingFile::failure(int systemError) const
{
    return KOR_FAIL("unable to write '%1': %2", place, std::strerror(systemError));
}

CError CPendingFile::open(const std::string& path, bool mayReplace)
{
    place = path;
    isReplacing = mayReplace;
    if (path.empty())
        return KOR_FAIL("the output needs a file name");
    struct stat found = {};
    if (::stat(path.c_str(), &found) == 0)
    {
        if (S_ISDIR(found.st_mode))
            return KOR_FAIL("output '%1' is a directory; give a file name in it", path);
        if (!S_ISREG(found.st_mode))
            return KOR_FAIL("output '%1' is not a regular file", path);
        if (!mayReplace)
            return KOR_FAIL("output '%1' exists already; --force replaces it", path);
        char resolved[PATH_MAX];
        if (::realpath(path.c_str(), resolved) != nullptr)
            place = resolved;
        if (::access(place.c_str(), W_OK) != 0)
            return failure(errno);
    }
    else if (struct stat link = {}; ::lstat(path.c_str(), &link) == 0)
        return KOR_FAIL("output '%1' is a link to a file that does not exist", path);

    const std::size_t slash = place.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : place.substr(0, slash + 1);
    std::string name = folder + ".morvahost-XXXXXX";
    file = ::mkstemp(name.data());
    if (file < 0)
        return failure(errno);
    passing = name;
    const mode_t mask = ::umask(0);
    ::umask(mask);
    const mode_t mode = mayReplace && found.st_mode != 0 ? found.st_mode & 0777 : 0666 & ~mask;
    if (::fchmod(file, mode) != 0)
        return failure(errno);
    return {};
}

CError CPendingFile::write(const std::string& bytes)
{
    for (std::size_t done = 0; done < bytes.size();)
    {
        const ssize_t count = ::write(file, bytes.data() + done, bytes.size() - done);
        if (count < 0 && errno != EINTR)
            return failure(errno);
        if (count > 0)
            done += static_cast<std::size_t>(count);
    }
    return {};
}

CError CPendingFile::commit()
{
    if (::fsync(file) != 0)
        return failure(errno);
    const int closed = ::close(file);
    file = -1;
    if (closed != 0)
        return failure(errno);
    if (isReplacing)
    {
        if (::rename(passing.c_str(), place.c_str()) != 0)
            return failure(errno);
        passing.clear();
        return {};
    }
    // A link fails when somebody else made the output meanwhile, where a rename would replace it.
    if (::link(passing.c_str(), place.c_str()) == 0)
        return {};                                  // the passing name goes with this object
    if (errno == EEXIST)
        return KOR_FAIL("output '%1' exists already; --force replaces it", place);
    // File systems without hard links.
    if (::access(place.c_str(), F_OK) == 0 || ::rename(passing.c_str(), place.c_str()) != 0)
        return failure(errno);
    passing.clear();
    return {};
}

}
