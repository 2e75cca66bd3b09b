// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Platform/CSystemFile.h"

namespace kor
{

// The right to change a file that other processes, and other threads of this one, change too. It is the system's lock of
// an empty side file, "<path>.lock", which stays: the file itself is replaced as a whole, so a lock of it would be one
// of a file that is no more. The system drops the lock of a process that dies, so none is ever left behind.
class CDataFileLock
{
public:
    /// Waits for others, but not without end: after five seconds it fails, and so does a side file that cannot be made.
    /// Where the file system knows no locks there is none to take, and that is a success.
    CError take(const CStringBuf& path);

    /// The destructor does the same.
    void release() { file.close(); }

private:
    CSystemFile file;
};

}
