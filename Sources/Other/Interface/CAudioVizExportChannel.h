// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAllocator.h"
#include "Core/CStringBuf.h"
#include "Other/Interface/CAudioVizData.h"
#include "Platform/CLock.h"

#include <atomic>
#include <list>

namespace kor
{

// What one channel group of one instance shows to the other instances of the process. One audio thread writes, the
// interface threads of several instances read. Lives as long as the process, so a name that was once asked for keeps its
// places here, and the owner's audio thread neither makes nor frees any.
class CAudioVizExportChannel
{
public:
    /// A slot's name and how many listeners it has got, or has.
    struct CRequest
    {
        const CStringBuf* name;                     // lives as long as the channel
        int count;
    };

    /// True when the channel was free; it is then empty and the instance's. / Gives it back, emptied.
    bool claim(int instanceId);
    void release();

    // The owner's audio thread.

    /// Puts an object behind those of the name; dropped where nobody ever asked for it. expectedReaders: listeners of
    /// the name; the last of them to read takes the object along.
    void append(const CStringBuf& name, CAudioVizDataPtr data, double now, int expectedReaders);

    /// Drops what was posted before `oldest`. / All of a name. / Everything.
    void dropOlder(double oldest);
    void drop(const CStringBuf& name);
    void clear();

    /// What has come to or gone from the listeners since the last call, in place of what `out` holds.
    void takeChanges(CArray<CRequest>& out);

    /// All listeners there are, as of the last takeChanges.
    void listRequests(CArray<CRequest>& out);

    // Importers, on their interface's thread.

    void changeRequest(const CStringBuf& name, int delta);

    /// Adds what this instance has not read yet, oldest first.
    void read(const CStringBuf& name, int instanceId, CArray<CAudioVizDataPtr>& out);

private:
    struct CEntry
    {
        double postedAt = 0.0;
        CAudioVizDataPtr data;
        int expectedReaders = 0;
        CArray<int> readers;
    };
    using CEntries = std::list<CEntry, CBlockAllocator<CEntry>>;
    struct CListeners
    {
        int count = 0;
        int change = 0;
    };

    void recycle(CEntries& entries, CEntries::iterator begin, CEntries::iterator end);

    static constexpr std::size_t spareEntries = 64;

    CLock dataLock;
    bool isFree = true;
    int owner = -1;
    CMap<CStringBuf, CEntries> lists;               // oldest first
    CEntries spare;

    CLock requestLock;
    CMap<CStringBuf, CListeners> requests;
    std::atomic<bool> hasChanges{false};
};

}
