// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStream.h"
#include "Platform/CSystemFile.h"

namespace kor
{

// What reading and writing files have in common: the handle, the name for messages, position, size and closing.
// The names "stdin", "stdout" and "stderr" stand for the process's own streams, which are never closed. The number in
// a failure's text is the system's error code. Paths go to the system as UTF-8.
class CFileBase
{
public:
    bool isOpen() const noexcept { return file.isOpen(); }
    const CStringBuf& name() const noexcept { return fileName; }

    /// Closes the file, which is closed even if this fails; does nothing when not open. The destructor does the same
    /// and says nothing, so whoever writes asks here whether all went well.
    CError close();

protected:
    CFileBase() = default;
    ~CFileBase() = default;

    int openAs(const CStringBuf& path, CSystemFile::Mode mode);
    CError filePosition(std::int64_t& position);
    CError setFilePosition(std::int64_t position);
    CError fileSize(std::int64_t& size);

    CSystemFile file;
    CStringBuf fileName;
    bool isLocked = false;
};

}
