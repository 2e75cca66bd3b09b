// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TreeCompiler/CTreeCompiler.h"

#include <filesystem>
#include <string>

namespace kor
{

/// A fresh folder of source files for one test, with a list of types that has x, y, z and ns:deep. It goes with the
/// object.
class CSourceFolder
{
public:
    CSourceFolder();
    ~CSourceFolder();
    CSourceFolder(const CSourceFolder&) = delete;
    CSourceFolder& operator=(const CSourceFolder&) = delete;

    /// Writes `text` as it stands; makes the folders in `name`.
    void write(const std::string& name, const std::string& text) const;

    std::string path(const std::string& name) const { return (folder / name).string(); }
    std::string read(const std::string& name) const;

    /// Compiles main.xml: what it decodes to, or the mistake without the folder's path.
    std::string compile() const;

    /// The same with `inside` between <tree> on the first line and </tree>.
    std::string compile(const std::string& inside) const;

private:
    std::filesystem::path folder;
};

}
