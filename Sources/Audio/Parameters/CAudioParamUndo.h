// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamUndoRecord.h"
#include "Core/CError.h"
#include "Platform/CLock.h"

#include <memory>

namespace kor
{

class CAudioParamCollector;

// The history of what a user did to the parameters of an instance, with a position in it. Changes travel through a
// record that is open from createRecord to submit; a step back or forward goes through the parameters' change
// operation, so that whoever follows them follows it too, and reaches the audio side in one flush. Any thread but the
// audio thread.
class CAudioParamUndo
{
public:
    /// Steps in effect are the first `position` records.
    struct CHistory
    {
        CArray<std::shared_ptr<const CAudioParamUndoRecord>> records;
        int position = 0;
    };

    virtual ~CAudioParamUndo() = default;

    /// capacity: most records that are kept, 1 or more. Before anything else.
    void setUp(CAudioParamCollector& owner, int capacity);

    /// An open record, for the changes of one user action. Mergeable ones of equal key (-1: none) over the same
    /// values become one step.
    std::unique_ptr<CAudioParamUndoRecord> createRecord(const CStringBuf& label, bool isMergeable = false,
                                                        int mergeKey = -1) const;

    /// Closes a record: it becomes the newest step, and steps that were undone are dropped. One without changes
    /// leaves everything as it is.
    void submit(std::unique_ptr<CAudioParamUndoRecord> record);

    /// "Undo history start" and the label of every record; the index of the line that is in effect.
    void getHistory(CArray<CStringBuf>& labels, int& position) const;

    /// Steps back or forward. Positions outside 0 to the number of records do nothing.
    void setPosition(int position);

    /// Puts another history in the place of the present one and returns that; null stands for an empty one.
    std::unique_ptr<CHistory> swapHistory(std::unique_ptr<CHistory> other);
    std::unique_ptr<CHistory> cloneHistory() const;

    /// The undo lock; comes behind a registry's preset lock and before its parameter lock.
    CLock& lock() const noexcept { return mutex; }

protected:
    /// Steps or position have changed. Under the undo lock: only note it.
    virtual void historyChanged() {}

private:
    mutable CLock mutex{CLockRank::undo};
    CAudioParamCollector* collector = nullptr;
    int capacityCount = 32;
    std::unique_ptr<CHistory> history; // made at first use
};

}
