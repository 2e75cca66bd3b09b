// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CFileWriter.h"

namespace kor
{

// Replaces a file as a whole: writes a new one beside it, brings that to the disk and renames it over the old one.
// Whatever fails or crashes on the way, the path holds either all of the old or all of the new contents.
class CSafeFileWriter : public COutputStream
{
public:
    CSafeFileWriter() = default;
    CSafeFileWriter(const CSafeFileWriter&) = delete;
    CSafeFileWriter& operator=(const CSafeFileWriter&) = delete;

    /// Without a commit the old file stays and the new one goes.
    ~CSafeFileWriter() override;

    /// Starts a new file in the directory of `path`, which must exist.
    CError open(const CStringBuf& path);

    CError write(const void* buffer, std::int64_t count) override;

    /// Puts the new file in place. On failure the old one is untouched and the new one is removed.
    CError commit();

    /// Removes the new files that writers of `path` left who died; nobody may be writing it.
    static void removeLeftovers(const CStringBuf& path);

private:
    CError bringToDisk();
    void discard() noexcept;

    CFileWriter writer;
    CStringBuf targetPath;
};

}
