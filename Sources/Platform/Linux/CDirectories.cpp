// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/CDirectories.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <dirent.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kor
{

namespace
{

std::string withSlash(std::string path)
{
    if (!path.empty() && path.back() != '/')
        path += '/';
    return path;
}

std::string variable(const char* name)
{
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

// The base directory rules of the desktop: a relative path in one of the variables counts as not set.
bool isAbsolute(const std::string& path)
{
    return !path.empty() && path.front() == '/';
}

struct CModuleSearch
{
    std::uintptr_t address;
    bool isFound = false;
    std::string name;
};

int visitModule(dl_phdr_info* info, std::size_t, void* context)
{
    auto& search = *static_cast<CModuleSearch*>(context);
    for (int i = 0; i < info->dlpi_phnum; ++i)
    {
        const auto& segment = info->dlpi_phdr[i];
        const std::uintptr_t start = info->dlpi_addr + segment.p_vaddr;
        if (segment.p_type == PT_LOAD && search.address >= start && search.address - start < segment.p_memsz)
        {
            search.isFound = true;
            search.name = info->dlpi_name;
            return 1;
        }
    }
    return 0;
}

}

std::string CDirectories::userData()
{
    if (const std::string data = variable("XDG_DATA_HOME"); isAbsolute(data))
        return withSlash(data);
    if (const std::string home = variable("HOME"); isAbsolute(home))
        return withSlash(home) + ".local/share/";
    return {};
}

std::string CDirectories::machineData()
{
    const std::string list = variable("XDG_DATA_DIRS");
    for (std::size_t start = 0; start < list.size();)
    {
        const std::size_t end = std::min(list.find(':', start), list.size());
        if (const std::string entry = list.substr(start, end - start); isAbsolute(entry))
            return withSlash(entry);
        start = end + 1;
    }
    return "/usr/local/share/";
}

std::string CDirectories::module()
{
    // The loader's list, not dladdr: for the program itself that gives the name it was called by, which need not be
    // a path. The list has an empty name for it.
    CModuleSearch search{reinterpret_cast<std::uintptr_t>(&visitModule), false, {}};
    dl_iterate_phdr(&visitModule, &search);
    if (search.name.empty())
        search.name = "/proc/self/exe";
    char resolved[PATH_MAX];
    if (!search.isFound || ::realpath(search.name.c_str(), resolved) == nullptr)
        return {};
    const std::string path = resolved;
    return path.substr(0, path.rfind('/') + 1);
}

bool CDirectories::create(const std::string& path)
{
    if (path.empty() || path.find('\0') != std::string::npos)
        return false;
    for (std::size_t end = path.find('/', 1); ; end = path.find('/', end + 1))
    {
        const std::string step = path.substr(0, end);
        // Owner only, as the rules ask for directories of a user's data. A step that cannot be made may still exist,
        // in a parent that must not be written; the last look decides.
        ::mkdir(step.c_str(), 0700);
        if (end == std::string::npos || end + 1 == path.size())
            break;
    }
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::vector<std::string> CDirectories::list(const std::string& path)
{
    std::vector<std::string> names;
    DIR* directory = ::opendir(path.c_str());
    if (directory == nullptr)
        return names;
    while (const dirent* entry = ::readdir(directory))
        if (const std::string name = entry->d_name; name != "." && name != "..")
            names.push_back(name);
    ::closedir(directory);
    return names;
}

}
