// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/CDirectories.h"
#include "Support/CFreshDataFolders.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace kor
{

TEST(Directories, FollowTheEnvironment)
{
    struct Case
    {
        const char* home;                                   // null: not set
        const char* dataHome;
        const char* dataDirs;
        const char* user;
        const char* machine;
    };
    const Case cases[] = {
        {"/h", "/d", "/m:/n", "/d/", "/m/"},
        {"/h/", "", "", "/h/.local/share/", "/usr/local/share/"},
        {"/h", "relative", "relative:/n/", "/h/.local/share/", "/n/"},  // what is not absolute counts as not set
        {nullptr, "/d/", "::/m", "/d/", "/m/"},
        {nullptr, nullptr, nullptr, "", "/usr/local/share/"},
    };
    const test::CFreshDataFolders folders;                  // puts the environment back afterwards
    const auto set = [](const char* name, const char* value) {
        value != nullptr ? ::setenv(name, value, 1) : ::unsetenv(name);
    };
    for (const Case& c : cases)
    {
        set("HOME", c.home);
        set("XDG_DATA_HOME", c.dataHome);
        set("XDG_DATA_DIRS", c.dataDirs);
        EXPECT_EQ(CDirectories::userData(), c.user);
        EXPECT_EQ(CDirectories::machineData(), c.machine);
    }
    EXPECT_EQ(CDirectories::module(), std::filesystem::read_symlink("/proc/self/exe").parent_path().string() + "/");
}

TEST(Directories, CreateMakesAllSteps)
{
    const test::CFreshDataFolders folders;
    const std::string deep = folders.user() + "Tenvaro/Audio Plug-Ins/\xC3\xA4/";
    EXPECT_TRUE(CDirectories::create(deep));
    EXPECT_TRUE(std::filesystem::is_directory(deep));
    EXPECT_TRUE(CDirectories::create(deep));
    std::ofstream(folders.user() + "file") << "x";
    EXPECT_FALSE(CDirectories::create(folders.user() + "file"));
    EXPECT_FALSE(CDirectories::create(folders.user() + "file/below"));
    EXPECT_FALSE(CDirectories::create(""));
}

}
