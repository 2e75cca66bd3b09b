// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CAudioVizExportChannel.h"

#include <algorithm>
#include <utility>

namespace kor
{

bool CAudioVizExportChannel::claim(int instanceId)
{
    CLockHolder hold(dataLock);
    if (!isFree)
        return false;
    for (auto& [name, entries] : lists)
        recycle(entries, entries.begin(), entries.end());
    isFree = false;
    owner = instanceId;
    return true;
}

void CAudioVizExportChannel::release()
{
    CLockHolder hold(dataLock);
    for (auto& [name, entries] : lists)
        recycle(entries, entries.begin(), entries.end());
    isFree = true;
    owner = -1;
}

void CAudioVizExportChannel::append(const CStringBuf& name, CAudioVizDataPtr data, double now, int expectedReaders)
{
    CLockHolder hold(dataLock);
    const auto found = lists.find(name);
    if (found == lists.end())
        return;
    if (spare.empty())
        spare.emplace_back();
    CEntries& entries = found->second;
    entries.splice(entries.end(), spare, spare.begin());
    CEntry& entry = entries.back();
    entry.postedAt = now;
    entry.data = std::move(data);
    entry.expectedReaders = expectedReaders;
}

void CAudioVizExportChannel::dropOlder(double oldest)
{
    CLockHolder hold(dataLock);
    for (auto& [name, entries] : lists)
    {
        const auto isYoung = [oldest](const CEntry& entry) { return entry.postedAt >= oldest; };
        recycle(entries, entries.begin(), std::ranges::find_if(entries, isYoung));
    }
}

void CAudioVizExportChannel::drop(const CStringBuf& name)
{
    CLockHolder hold(dataLock);
    if (const auto found = lists.find(name); found != lists.end())
        recycle(found->second, found->second.begin(), found->second.end());
}

void CAudioVizExportChannel::clear()
{
    CLockHolder hold(dataLock);
    for (auto& [name, entries] : lists)
        recycle(entries, entries.begin(), entries.end());
}

void CAudioVizExportChannel::recycle(CEntries& entries, CEntries::iterator begin, CEntries::iterator end)
{
    for (auto entry = begin; entry != end; ++entry)
    {
        entry->data = {};
        entry->readers.clear();                     // keeps its memory
    }
    spare.splice(spare.end(), entries, begin, end);
}

void CAudioVizExportChannel::takeChanges(CArray<CRequest>& out)
{
    out.clear();
    if (!hasChanges.load(std::memory_order_relaxed))
        return;
    CLockHolder hold(requestLock);
    hasChanges.store(false, std::memory_order_relaxed);
    for (auto& [name, listeners] : requests)
    {
        if (listeners.change == 0)
            continue;
        listeners.count += listeners.change;
        out.push_back({&name, std::exchange(listeners.change, 0)});
    }
}

void CAudioVizExportChannel::listRequests(CArray<CRequest>& out)
{
    out.clear();
    CLockHolder hold(requestLock);
    for (const auto& [name, listeners] : requests)
        if (listeners.count != 0)
            out.push_back({&name, listeners.count});
}

void CAudioVizExportChannel::changeRequest(const CStringBuf& name, int delta)
{
    {
        CLockHolder hold(dataLock);
        lists.try_emplace(name);
        while (spare.size() < spareEntries)
            spare.emplace_back();
    }
    CLockHolder hold(requestLock);
    requests[name].change += delta;
    hasChanges.store(true, std::memory_order_relaxed);
}

void CAudioVizExportChannel::read(const CStringBuf& name, int instanceId, CArray<CAudioVizDataPtr>& out)
{
    CLockHolder hold(dataLock);
    const auto found = lists.find(name);
    if (found == lists.end())
        return;
    CEntries& entries = found->second;
    auto entry = entries.end();
    while (entry != entries.begin() && std::ranges::count(std::prev(entry)->readers, instanceId) == 0)
        --entry;                                    // what is older than one that was read was read before it
    while (entry != entries.end())
    {
        const auto current = entry++;
        out.push_back(current->data);
        if (static_cast<int>(current->readers.size()) + 1 == current->expectedReaders)
            recycle(entries, current, entry);
        else
            current->readers.push_back(instanceId);
    }
}

}
