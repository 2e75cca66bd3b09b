// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace kor
{

// The places the system gives a program, as UTF-8 paths that end with "/".
class CDirectories
{
public:
    /// Data of the user: $XDG_DATA_HOME, else $HOME/.local/share. Empty when neither is known. Not created here.
    static std::string userData();

    /// Data of the machine: the first of $XDG_DATA_DIRS, else /usr/local/share.
    static std::string machineData();

    /// The directory of the shared library or program that holds this code.
    static std::string module();

    /// Creates a directory and its parents; true when it exists afterwards.
    static bool create(const std::string& path);

    /// Names of what lies in a directory; none if it cannot be read.
    static std::vector<std::string> list(const std::string& path);
};

}
