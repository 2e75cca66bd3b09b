// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamSelectionTable.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

namespace kor
{

class CAudioExtParam;
class CAudioParamCollector;
class CAudioParamRegistry;
class CAudioPresetBank;

// Presets that rows select from, for the audio thread: what a registry does when the selecting value is stored, done
// beforehand with the values that it will set.
class CAudioDirectSelection
{
public:
    CAudioDirectSelection(CAudioParamCollector& owner, CAudioParamRegistry& selected);
    ~CAudioDirectSelection();
    CAudioDirectSelection(const CAudioDirectSelection&) = delete;
    CAudioDirectSelection& operator=(const CAudioDirectSelection&) = delete;

    const CAudioParamRegistry& registry() const noexcept { return presets; }

    /// A row whose parameter selects. Before audio starts.
    void addRow(CAudioExtParam& row);

    /// Reads the list anew if it has changed. Any thread but the audio thread; one at a time.
    void prepare();

    /// Sets what the rows' values select, where the audio side has something else. A row that was not written, or whose
    /// write is stored by now, leaves all as it is. Audio thread; neither allocates nor waits.
    void follow() noexcept;

private:
    struct CRow
    {
        CAudioExtParam* row;
        std::uint64_t done;                         // order of the write that was followed last
    };
    void takeTable() noexcept;
    void setList(CAudioParam& param, int group, const CArray<double>& list) noexcept;

    CAudioParamCollector& collector;
    CAudioParamRegistry& presets;
    std::shared_ptr<const CAudioPresetBank> readFrom;
    bool isRead = false;

    // Tables go to the audio thread in `offered` and come back in `returned`, to be deleted elsewhere. Both sides
    // exchange with acquire and release: what one did to a table comes before what the other does.
    std::atomic<const CAudioParamSelectionTable*> offered{nullptr};
    std::atomic<const CAudioParamSelectionTable*> returned{nullptr};

    // Audio thread.
    const CAudioParamSelectionTable* table = nullptr;
    CArray<CRow> rows;
};

}
