// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStream.h"
#include "Platform/CLock.h"

namespace kor
{

/// Is told that a data file has new contents, on the thread that wrote them. It may read the store, but neither write
/// it nor add or remove observers.
class CDataObserver
{
public:
    virtual ~CDataObserver() = default;
    virtual void onDataWritten(const CStringBuf& name) = 0;
};

// A store of small named data files: preset lists, settings, window positions. What is found once is kept, so that
// each file is read once per process; what one instance writes the others see at once. A file is looked for in the
// user's directory, the machine's, the module's own, and last among the embedded resources, and the first candidate
// that decodes is taken. Only the user's directory is written. Any thread but the audio thread.
class CApplicationData
{
public:
    /// Both are parts of paths and resource names: "Vendor/Product/", "AppData_".
    CApplicationData(const CStringBuf& storeSubdirectory, const CStringBuf& storeResourcePrefix);
    CApplicationData(const CApplicationData&) = delete;
    CApplicationData& operator=(const CApplicationData&) = delete;

    enum class Source
    {
        cache,                                      // files only for what was not looked for yet
        reload                                      // files; the cache stays if what is there does not decode
    };

    /// The contents of a data file, empty when there is none. A name is a plain file name without "/".
    void read(const CStringBuf& name, CByteArray& out, std::uint32_t id, Source source = Source::cache);

    /// Keeps the data and writes the file as a whole; a failure of the file is logged. Then tells all observers of the
    /// name but `except`.
    void write(const CStringBuf& name, const void* data, std::size_t size, std::uint32_t id,
               const CDataObserver* except = nullptr);

    /// A small number that stands for the name as long as the store lives.
    int idOf(const CStringBuf& name);

    /// The observer must be removed before it goes; once removeObserver returns it is not called any more.
    void addObserver(const CStringBuf& name, CDataObserver& observer);
    void removeObserver(CDataObserver& observer);

    /// For tests, which change the data folders within one process: drops all that was kept and looks again.
    void forgetForTests();

private:
    enum class Paths
    {
        notTried,
        resolved,
        failed
    };

    struct CEntry
    {
        bool isKnown = false;
        CByteArray bytes;
    };

    void resolvePaths();
    CEntry& entryOf(const CStringBuf& name);
    bool readFiles(const CStringBuf& name, CByteArray& out, std::uint32_t id, bool& wasDamaged) const;
    CError writeFile(const CStringBuf& name, const void* data, std::size_t size, std::uint32_t id) const;

    const CStringBuf subdirectory;
    const CStringBuf resourcePrefix;

    CLock lock;                                     // all below up to the observers, and the files
    Paths paths = Paths::notTried;
    CStringBuf userDirectory;
    CStringBuf machineDirectory;
    CStringBuf moduleDirectory;
    CMap<CStringBuf, int> ids;
    CMap<int, CEntry> cache;

    CLock observerLock;                             // held while observers are told
    CMap<int, CArray<CDataObserver*>> observers;
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
