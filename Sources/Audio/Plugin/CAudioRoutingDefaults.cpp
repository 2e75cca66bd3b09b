// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CAudioRoutingDefaults.h"

#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Plugin/CAudioInstance.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kor
{

namespace
{

// Entries of a routing that are written: all that it can have, since one that is not given reads as the first of the
// defaults.
constexpr int entryCount = 16;

using CEntries = std::vector<int>;

CEntries read(const CAudioParam& param)
{
    CLockHolder hold(param.lock());
    CEntries entries;
    for (int e = 0; e < param.values().elementCount(0); ++e)
        entries.push_back(static_cast<int>(std::lround(param.values().getValue(0, e))));
    return entries;
}

void write(CAudioParam& param, const CEntries& entries, CAudioParamUndoContext* undo)
{
    if (read(param) == entries)
        return;
    const std::vector<double> values(entries.begin(), entries.end());
    CAudioParamRequest request;
    request.elementCount = static_cast<int>(values.size());
    request.cut = true;
    request.values = values.data();
    param.change(request, undo);
}

void writeText(CAudioParam& param, int element, const CStringBuf& text, CAudioParamUndoContext* undo)
{
    if (element >= param.getElementCount(0) || param.getText(0, element) != text)
        param.setText(0, element, text, undo);
}

/// 1, 2, ... count, and 0 behind that.
CEntries straight(int count)
{
    CEntries entries(entryCount, 0);
    for (int i = 0; i < std::min(count, entryCount); ++i)
        entries[static_cast<std::size_t>(i)] = i + 1;
    return entries;
}

/// 1 for `count` channels: what comes in once goes out everywhere.
CEntries spread(int count)
{
    CEntries entries(entryCount, 0);
    std::fill_n(entries.begin(), std::min(count, entryCount), 1);
    return entries;
}

bool isZeroFrom(const CEntries& entries, std::size_t first)
{
    return std::all_of(entries.begin() + static_cast<std::ptrdiff_t>(std::min(first, entries.size())), entries.end(),
                       [](int entry) { return entry == 0; });
}

/// How many entries count up from 1; -1 when something else than 0 follows them.
int lengthOfStraight(const CEntries& entries)
{
    std::size_t count = 0;
    while (count < entries.size() && entries[count] == static_cast<int>(count) + 1)
        ++count;
    return isZeroFrom(entries, count) ? static_cast<int>(count) : -1;
}

/// True if nothing but ones stand at the start and nothing but zeros behind them.
bool isSpread(const CEntries& entries)
{
    return isZeroFrom(entries, static_cast<std::size_t>(std::ranges::find_if(entries, [](int e) { return e != 1; }) -
                                                        entries.begin()));
}

CStringBuf nameOfGroup(int group)
{
    return CStringBuf::fromInt(group + 1);
}

}

CError CAudioRoutingDefaults::init(const CAudioInstance& owner)
{
    instance = &owner;
    const struct
    {
        CAudioParam*& param;
        const char* name;
    } wanted[] = {{channelNames, "io-params.in-channel-names"}, {groupNames, "io-params.group-names"},
                  {inRouting, "io-params.in-routing"},          {grouping, "io-params.grouping"},
                  {outRouting, "io-params.out-routing"},        {pairs, "io-params.ms-pairs"}};
    for (const auto& entry : wanted)
    {
        entry.param = instance->findParam(entry.name);
        if (entry.param == nullptr || !entry.param->hasInfo())
            return KOR_FAIL("There is no parameter '%1'.", entry.name);
    }
    return {};
}

bool CAudioRoutingDefaults::isUntouched(int inputs) const
{
    if (!isZeroFrom(read(*pairs), 0))
        return false;
    const CStringBuf first = groupNames->getText(0, 0);
    if (first != "1" && first != "MONO" && first != "STEREO" && first != "ALL CH")
        return false;
    for (int g = 1; g < std::min(instance->groupCount(), groupNames->getElementCount(0)); ++g)
        if (groupNames->getText(0, g) != nameOfGroup(g))
            return false;

    const CEntries groups = read(*grouping);
    const std::vector<int> usual = instance->defaultGrouping(static_cast<int>(groups.size()));
    const std::size_t used = std::min(groups.size(), static_cast<std::size_t>(inputs));
    const bool isOneGroup = std::all_of(groups.begin(), groups.begin() + static_cast<std::ptrdiff_t>(used),
                                        [](int group) { return group == 0; });
    if (!isOneGroup && groups != usual)
        return false;

    const int count = lengthOfStraight(read(*inRouting));
    if (count < 1)
        return false;
    const CEntries out = read(*outRouting);
    return lengthOfStraight(out) == count || (count == 1 && isSpread(out));
}

void CAudioRoutingDefaults::channelsChanged(int inputs, int outputs, const CArray<CStringBuf>& labels,
                                            CAudioParamUndoContext* undo)
{
    if (inputs < 1 || outputs < 1 || !isUntouched(inputs))
        return;
    const CAudioParamChangeScope scope;
    const int inside = std::min(inputs, instance->channelCount());
    importLabels(labels, undo);
    writeText(*groupNames, 0, inside == 1 ? "MONO" : inside == 2 ? "STEREO" : "ALL CH", undo);
    for (int g = 1; g < instance->groupCount(); ++g)
        writeText(*groupNames, g, nameOfGroup(g), undo);
    write(*inRouting, straight(inside), undo);
    write(*outRouting, inside == 1 ? spread(outputs) : straight(inside), undo);
    write(*grouping, CEntries(entryCount, 0), undo);
}

void CAudioRoutingDefaults::importLabels(const CArray<CStringBuf>& labels, CAudioParamUndoContext* undo) const
{
    const int count = std::min(static_cast<int>(labels.size()), entryCount);
    for (int c = 0; c < count; ++c)
        writeText(*channelNames, c, labels[static_cast<std::size_t>(c)], undo);
}

}
