// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/CFreshDataFolders.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace kor::test
{

CFreshDataFolders::CFreshDataFolders()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "morva-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
    {
        std::perror(pattern.c_str());               // going on would touch the user's own files
        std::abort();
    }
    folder = pattern + "/";
    const std::array<std::string, 3> values = {folder + "home", folder + "user", folder + "machine"};
    for (std::size_t i = 0; i < variables.size(); ++i)
    {
        if (const char* value = std::getenv(variables[i]))
            before[i] = value;
        std::filesystem::create_directory(values[i]);
        ::setenv(variables[i], values[i].c_str(), 1);
    }
}

CFreshDataFolders::~CFreshDataFolders()
{
    for (std::size_t i = 0; i < variables.size(); ++i)
    {
        if (before[i])
            ::setenv(variables[i], before[i]->c_str(), 1);
        else
            ::unsetenv(variables[i]);
    }
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

}
