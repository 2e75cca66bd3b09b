// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CFileBase.h"

namespace kor
{

// Reads a file.
class CFileReader : public CFileBase, public CPosInputStream
{
public:
    enum class Use
    {
        reading,
        update                                      // also writable, and locked against other updaters until close
    };

    /// Opens an existing file. For an update waits until no other update holds the file.
    CError open(const CStringBuf& path, Use use = Use::reading);

    /// Whether the last open failed because there is nothing of that name.
    bool wasMissing() const noexcept { return isMissing; }

    CError skip(std::int64_t count) override;
    CError read(void* buffer, std::int64_t count) override;
    CError readRef(void* buffer, std::int64_t& count) override;
    CError getPosition(std::int64_t& position) override { return filePosition(position); }
    CError setPosition(std::int64_t position) override { return setFilePosition(position); }
    CError getSize(std::int64_t& size) override { return fileSize(size); }

private:
    bool isMissing = false;
};

}
