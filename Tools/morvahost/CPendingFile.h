// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"

#include <string>

namespace kor
{

// An output on its way: written under a passing name beside its place, flushed, and moved there by commit(). Until then
// whatever stood at that place is untouched, and an object that goes without commit() leaves nothing behind.
class CPendingFile
{
public:
    CPendingFile() = default;
    ~CPendingFile();
    CPendingFile(const CPendingFile&) = delete;
    CPendingFile& operator=(const CPendingFile&) = delete;

    /// Checks the place and opens the passing file. Without `mayReplace` an existing output is a failure, also when it
    /// appears only before commit(). A symbolic link is followed; anything but a regular file is never replaced.
    CError open(const std::string& path, bool mayReplace);

    /// Descriptor for writing; -1 before open(). Belongs to this object.
    int descriptor() const noexcept { return file; }

    CError write(const std::string& bytes);

    /// Flushes to the disk and moves the file to its place.
    CError commit();

    /// The failure "unable to write 'path': reason" for a system error number.
    CError failure(int systemError) const;

private:
    std::string place;
    std::string passing;
    bool isReplacing = false;
    int file = -1;
};

}
