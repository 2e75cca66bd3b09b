// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CDataFileLock.h"
#include "Core/CDataFormat.h"
#include "Core/CStream.h"

namespace kor
{

// The files of a data store: where they may lie, which of them counts, and how one is replaced so that neither a crash
// nor another process at the same time leaves half of it. A file is looked for in the user's directory, the machine's,
// the module's own, and last among the embedded resources. Only the user's directory is written. What is not usable is
// logged, in one line each. resolve comes first, under the store's lock; what is const may then run on any thread.
class CDataFiles
{
public:
    /// Both are parts of paths and resource names: "Vendor/Product/", "AppData_".
    CDataFiles(const CStringBuf& storeSubdirectory, const CStringBuf& storeResourcePrefix);

    /// Looks for the directories, once; false when they are not known, which is logged. Without them there is nothing
    /// to read, and what is written goes nowhere.
    bool resolve();

    struct CReading
    {
        bool isFound = false;
        bool wasDamaged = false;                    // a candidate is there but not usable
        bool isUserFileDamaged = false;
        bool isUserFileOutOfReach = false;          // it is there, but does not open
    };

    /// Gives the contents of the first candidate that opens and decodes; otherwise `out` stays.
    CReading read(const CStringBuf& name, CByteArray& out, const CDataFormat& format) const;

    /// The right to replace the user's file. May wait, so no lock of the process is held meanwhile.
    CError take(CDataFileLock& right, const CStringBuf& name) const;

    /// Replaces the user's file. The caller has taken the right to it.
    CError write(const CStringBuf& name, const void* data, std::size_t size, std::uint32_t id) const;

    /// Keeps a user's file that does not decode as "<name>.damaged", for someone to look at who knows more.
    CError setAside(const CStringBuf& name) const;

    /// For tests, which change the data folders within one process: looks for them again.
    void forgetForTests() { paths = Paths::notTried; }

private:
    enum class Paths
    {
        notTried,
        resolved,
        failed
    };

    const CStringBuf subdirectory;
    const CStringBuf resourcePrefix;
    Paths paths = Paths::notTried;
    CStringBuf userDirectory;
    CStringBuf machineDirectory;
    CStringBuf moduleDirectory;
};

}
