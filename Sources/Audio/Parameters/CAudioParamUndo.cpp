// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamUndo.h"

#include "Audio/Parameters/CAudioParamCollector.h"

#include <optional>

namespace kor
{

void CAudioParamUndo::setUp(CAudioParamCollector& owner, int capacity)
{
    collector = &owner;
    capacityCount = capacity;
}

std::unique_ptr<CAudioParamUndoRecord> CAudioParamUndo::createRecord(const CStringBuf& label, bool isMergeable,
                                                                     int mergeKey) const
{
    return std::make_unique<CAudioParamUndoRecord>(label, isMergeable, mergeKey);
}

void CAudioParamUndo::submit(std::unique_ptr<CAudioParamUndoRecord> record)
{
    if (record == nullptr)
        return;
    CAudioParamChangeScope scope;                   // whoever waits for the end hears of it behind the lock
    record->close();
    if (record->changeCount() == 0)
        return;
    CLockHolder hold(mutex);
    if (history == nullptr)
        history = std::make_unique<CHistory>();
    auto& records = history->records;
    const std::size_t inEffect = static_cast<std::size_t>(history->position);
    records.resize(inEffect);
    if (inEffect > 0 && record->mergesWith(*records.back()))
    {
        record->prepend(*records.back());
        records.back() = std::move(record);         // another history may still hold the earlier one
    }
    else
    {
        if (records.size() >= static_cast<std::size_t>(capacityCount))
            records.erase(records.begin());
        records.push_back(std::move(record));
    }
    history->position = static_cast<int>(records.size());
    historyChanged();
}

void CAudioParamUndo::getHistory(CArray<CStringBuf>& labels, int& position) const
{
    CLockHolder hold(mutex);
    labels.assign(1, "Undo history start"_s);
    position = 0;
    if (history == nullptr)
        return;
    for (const auto& record : history->records)
        labels.push_back(record->label());
    position = history->position;
}

// What hooks put off runs behind the undo lock, with the audio side's part on its way already.
void CAudioParamUndo::setPosition(int position)
{
    std::optional<CAudioParamBatch> batch;
    if (CAudioParamChangeScope::currentBatch() == nullptr)
        batch.emplace(*collector);
    CAudioParamChangeScope scope(batch ? &*batch : nullptr);
    CLockHolder hold(mutex);
    if (history == nullptr || position < 0 || position > static_cast<int>(history->records.size()) ||
        position == history->position)
        return;
    using CDirection = CAudioParamUndoRecord::CDirection;
    const auto& records = history->records;
    for (int i = history->position; i < position; ++i)
        records[static_cast<std::size_t>(i)]->replay(*collector, CDirection::forward);
    for (int i = history->position; i > position; --i)
        records[static_cast<std::size_t>(i - 1)]->replay(*collector, CDirection::back);
    if (batch)
        batch->submit();
    history->position = position;
    historyChanged();
}

std::unique_ptr<CAudioParamUndo::CHistory> CAudioParamUndo::swapHistory(std::unique_ptr<CHistory> other)
{
    CLockHolder hold(mutex);
    history.swap(other);
    historyChanged();
    return other;
}

std::unique_ptr<CAudioParamUndo::CHistory> CAudioParamUndo::cloneHistory() const
{
    CLockHolder hold(mutex);
    return history != nullptr ? std::make_unique<CHistory>(*history) : nullptr;
}

}
