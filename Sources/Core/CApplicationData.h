// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CBridgeBase.h"
#include "Core/CDataFiles.h"

#include <functional>
#include <optional>

namespace kor
{

// A store of small named data files: preset lists, settings, window positions. What is found once is kept, so that
// each file is read once per process; what one instance writes the others see at once. CApplicationDataBridge tells of
// writes. No fault of a file or a disk changes what the process runs with. Any thread but the audio thread.
class CApplicationData : public CBridgeBase
{
public:
    /// Both are parts of paths and resource names: "Vendor/Product/", "AppData_".
    CApplicationData(const CStringBuf& storeSubdirectory, const CStringBuf& storeResourcePrefix);
    ~CApplicationData() override;

    enum class Source
    {
        cache,                                      // files only for what was not looked for yet
        reload                                      // files; the cache stays if what is there does not decode
    };

    /// The contents of a data file, empty when there is none. A name is a plain file name without "/".
    void read(const CStringBuf& name, CByteArray& out, const CDataFormat& format, Source source = Source::cache);

    /// The text that a data file holds, and keeps; none when there is none. Reading: as `read`; writing: as `write`.
    std::optional<CStringBuf> readText(const CStringBuf& name);
    void writeText(const CStringBuf& name, const CStringBuf& text, const CBridge* except = nullptr);

    /// Keeps the data and writes the file as a whole; a failure of the file is logged, in one line, and the next write
    /// tries again. Then tells all bridges of the name but `except`, on this thread.
    void write(const CStringBuf& name, const void* data, std::size_t size, std::uint32_t id,
               const CBridge* except = nullptr);

    /// Makes the new contents of the old ones, or returns false to leave all as it is.
    using CEdit = std::function<bool(CByteArray& bytes)>;

    /// Changes a list that other windows and processes change too, so that nobody's entries are lost: the file is read
    /// anew and replaced while nobody else changes it. `change` finds its target in what it gets, by identity, since
    /// places may have moved; no lock of this process is held over it, but it must not change the same file by another
    /// call. On failure file and kept data stay as they were. A file that does not decode is set aside first.
    CError edit(const CStringBuf& name, const CDataFormat& format, const CEdit& change,
                const CBridge* except = nullptr);

    /// A small number above 0 that stands for the file name as long as the store lives.
    int getBridgeKey(const CStringBuf& name) override;

    /// For tests, which change the data folders within one process: drops all that was kept and looks again.
    void forgetForTests();

private:
    struct CEntry
    {
        bool isKnown = false;
        CByteArray bytes;
    };

    CEntry& entryOf(const CStringBuf& name);
    bool hasFiles();

    CLock lock{CLockRank::store};                   // all below, and the files
    CDataFiles files;
    CMap<CStringBuf, int> ids;
    CMap<int, CEntry> cache;
};

/// Data of all plug-ins of the family.
class CGlobalData
{
public:
    static CApplicationData& instance();
};

/// Data of all instances of this plug-in.
class CLocalData
{
public:
    static CApplicationData& instance();
};

}
