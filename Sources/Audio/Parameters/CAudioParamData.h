// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamDataItem.h"
#include "Core/CAllocator.h"

namespace kor
{

// The table that gives meaning to the ids in a text or byte parameter's elements. Every element that holds an id counts
// as one use; an id without uses is free again. Items themselves are shared between tables. Belongs to its holder's
// thread.
class CAudioParamData
{
public:
    /// Ids are 1 to 8388607, exact even as single-precision numbers; 0 never names an item.
    static constexpr int idLimit = 8388608;

    CAudioParamData() = default;
    CAudioParamData(const CAudioParamData& other);
    CAudioParamData(CAudioParamData&& other) noexcept { *this = std::move(other); }
    CAudioParamData& operator=(const CAudioParamData& other);
    CAudioParamData& operator=(CAudioParamData&& other) noexcept;
    ~CAudioParamData();

    /// Takes an item in with one use and returns its id; 0 when all ids are taken (the item is then dropped).
    int add(const CAudioParamDataItem* item);

    /// Counts another use of an id; unknown ids are ignored.
    void retain(int id);

    /// Counts a use less; the last one frees the id and lets go of the item. Unknown ids are ignored.
    void release(int id);

    /// Null for an unknown id.
    const CAudioParamDataItem* find(int id) const noexcept;

    /// Text of a text item; empty for an unknown id or an item of another type.
    const CStringBuf& text(int id) const noexcept;

    int itemCount() const noexcept { return static_cast<int>(entries.size()); }
    void clear() noexcept;

    /// Visits (id, item) in rising order of ids.
    template <class Function>
    void forEach(Function&& visit) const
    {
        for (const auto& [id, entry] : entries)
            visit(id, *entry.item);
    }

    /// The id that a value of an element stands for: the nearest integer, 0 for what is no id.
    static int idOf(double value) noexcept;

private:
    struct CEntry
    {
        const CAudioParamDataItem* item;
        int uses;
    };
    CMap<int, CEntry> entries;
    CArray<int> freeIds;
    int nextId = 1;
};

}
