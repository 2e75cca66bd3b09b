// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CFileBase.h"

namespace kor
{

// Writes a file in place. What the user must not lose goes through CSafeFileWriter instead.
class CFileWriter : public CFileBase, public CPosOutputStream
{
public:
    enum class Start
    {
        empty,                                      // what was there is gone
        append
    };

    CError open(const CStringBuf& path, Start start = Start::empty);

    /// Returns when all that was written is on the disk.
    CError flush();

    CError write(const void* buffer, std::int64_t count) override;
    CError getPosition(std::int64_t& position) override { return filePosition(position); }
    CError setPosition(std::int64_t position) override { return setFilePosition(position); }
    CError getSize(std::int64_t& size) override { return fileSize(size); }
};

}
