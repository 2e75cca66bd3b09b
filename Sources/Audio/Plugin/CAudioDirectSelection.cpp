// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CAudioDirectSelection.h"

#include "Audio/Parameters/CAudioParamRecordPool.h"
#include "Audio/Parameters/CAudioParamRegistry.h"
#include "Audio/Plugin/CAudioExtParam.h"

#include <algorithm>

namespace kor
{

CAudioDirectSelection::CAudioDirectSelection(CAudioParamCollector& owner, CAudioParamRegistry& selected)
    : collector(owner), presets(selected)
{
}

CAudioDirectSelection::~CAudioDirectSelection()
{
    delete offered.load();
    delete returned.load();
    delete table;
}

void CAudioDirectSelection::addRow(CAudioExtParam& row)
{
    rows.push_back({&row, row.lastOrder()});
}

void CAudioDirectSelection::prepare()
{
    delete returned.exchange(nullptr, std::memory_order_acquire);
    std::shared_ptr<const CAudioPresetBank> now = presets.presets();
    if (isRead && now == readFrom)
        return;
    delete offered.exchange(presets.selectionTable(now.get()).release(), std::memory_order_acq_rel);
    readFrom = std::move(now);
    isRead = true;
}

// A new table waits while the last but one has not been fetched.
void CAudioDirectSelection::takeTable() noexcept
{
    if (offered.load(std::memory_order_relaxed) == nullptr || returned.load(std::memory_order_relaxed) != nullptr)
        return;
    if (const CAudioParamSelectionTable* next = offered.exchange(nullptr, std::memory_order_acquire))
        returned.store(std::exchange(table, next), std::memory_order_release);
}

void CAudioDirectSelection::follow() noexcept
{
    takeTable();
    if (table == nullptr)
        return;
    for (CRow& each : rows)
    {
        CAudioExtParam& row = *each.row;
        const std::uint64_t last = row.lastOrder();
        if (last == each.done && row.pendingOrder() == 0)
            continue;
        each.done = last;
        const int group = row.param().info().isSingleGroup ? 0 : row.group();
        for (const CAudioParamSelectionTable::CStep& step :
             table->stepsOf(collector.heardValue(row.param(), group, row.element())))
            setList(*step.param, group, step.list(group));
    }
}

// In pieces that a record holds without allocation.
void CAudioDirectSelection::setList(CAudioParam& param, int group, const CArray<double>& list) noexcept
{
    const int size = param.info().elementSize;
    const int count = static_cast<int>(list.size()) / size;
    bool isThere = size == 1 && collector.heardCount(param, group) == count;
    for (int e = 0; isThere && e < count; ++e)
        isThere = collector.heardValue(param, group, e) == list[static_cast<std::size_t>(e)];
    if (isThere)
        return;
    const int mostAtOnce = static_cast<int>(CAudioParamPooledRecord::inlineValues) / size;
    int first = 0;
    do
    {
        CAudioParamRequest request;
        request.group = group;
        request.firstElement = first;
        request.elementCount = std::min(count - first, mostAtOnce);
        request.elementSize = size;
        request.cut = first + request.elementCount == count;
        request.values = list.data() + static_cast<std::size_t>(first) * static_cast<std::size_t>(size);
        collector.deliver(param, request);
        first += request.elementCount;
    } while (first < count);
}

}
