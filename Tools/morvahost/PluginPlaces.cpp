// SPDX-License-Identifier: GPL-3.0-or-later
#include "PluginPlaces.h"

#include "Platform/CDirectories.h"

#include <cstdlib>
#include <sys/stat.h>

namespace kor
{

namespace
{

bool exists(const std::string& path)
{
    struct stat found = {};
    return ::stat(path.c_str(), &found) == 0;
}

}

std::vector<std::string> pluginFolders()
{
    std::vector<std::string> folders;
    std::string own = CDirectories::module();
    if (own.size() > 1 && own.back() == '/')
        own.pop_back();
    folders.push_back(own);
    const char* const listed = std::getenv("VST3_PATH");
    std::string rest = listed != nullptr ? listed : "";
    while (!rest.empty())
    {
        const std::size_t end = std::min(rest.find(':'), rest.size());
        if (end > 0)
            folders.push_back(rest.substr(0, end));
        rest.erase(0, end + 1);
    }
    if (const char* const home = std::getenv("HOME"); home != nullptr && *home != 0)
        folders.push_back(std::string(home) + "/.vst3");
    folders.insert(folders.end(), {"/usr/local/lib/vst3", "/usr/lib/vst3"});
    return folders;
}

CError findPlugin(const std::string& given, std::string& bundle)
{
    bundle = given;
    if (given.find('/') != std::string::npos || exists(given))
        return {};
    constexpr std::string_view ending = ".vst3";
    std::string name = given;
    if (name.size() < ending.size() || name.substr(name.size() - ending.size()) != ending)
        name += ending;
    std::string looked;
    for (const std::string& folder : pluginFolders())
    {
        bundle = folder + '/' + name;
        if (exists(bundle))
            return {};
        looked += (looked.empty() ? "" : ", ") + folder;
    }
    return KOR_FAIL("there is no '%1' in %2; give its path with --plugin", name, looked);
}

}
