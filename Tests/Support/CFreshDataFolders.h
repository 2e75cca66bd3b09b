// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>
#include <string>

namespace kor::test
{

// Points the program's home and data directories to an empty temporary folder for as long as it lives, so that no test
// reads or writes the user's own. Make it before other threads run: it changes the environment.
class CFreshDataFolders
{
public:
    CFreshDataFolders();

    /// Restores the environment and removes the folder with all that was put there.
    ~CFreshDataFolders();
    CFreshDataFolders(const CFreshDataFolders&) = delete;
    CFreshDataFolders& operator=(const CFreshDataFolders&) = delete;

    /// Existing folders, ended by "/": the whole, and what CDirectories gives as userData() and machineData().
    const std::string& root() const noexcept { return folder; }
    std::string user() const { return folder + "user/"; }
    std::string machine() const { return folder + "machine/"; }

private:
    static constexpr std::array<const char*, 3> variables = {"HOME", "XDG_DATA_HOME", "XDG_DATA_DIRS"};

    std::string folder;
    std::array<std::optional<std::string>, 3> before;
};

}
