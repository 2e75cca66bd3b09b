// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamData.h"
#include "Audio/Parameters/CAudioParamRequest.h"
#include "Core/CStream.h"

#include <cstdint>
#include <span>

namespace kor
{

class CAudioParamInfo;

// Values of one parameter: a list of elements for every group, of doubles or of ids into its own item table, and the
// default list that answers for what no group holds. Reading never fails. Belongs to one thread, or to whoever holds
// the parameter's lock. Once grown, changes within the held sizes allocate nothing.
class CAudioParamStorage
{
public:
    static constexpr int maxGroups = 64;
    static constexpr int maxElements = 65536;           // of a group

    CAudioParamStorage();
    CAudioParamStorage(const CAudioParamStorage& other);
    CAudioParamStorage& operator=(const CAudioParamStorage& other);
    ~CAudioParamStorage();

    /// Drops values and items and takes over element size, type and flags; defaults come from `info` too. The group
    /// count stays, 1 for a single-group parameter; all lists are empty.
    void clear(const CAudioParamInfo& info);

    /// 0 to 64 groups; new groups start empty.
    void setGroupCount(int count);

    /// Room in every group for this many elements.
    void reserve(int elements);
    int groupCount() const noexcept;
    int elementCount(int group) const noexcept;
    int elementSize() const noexcept;
    CAudioParamType type() const noexcept;

    /// The stored value, else the default list's entry, else 0.0 where there is no default either.
    double getValue(int group, int element, int component = 0) const noexcept;

    /// All components of the element that getValue reads; empty where there is no default either.
    std::span<const double> element(int group, int element) const noexcept;

    /// Text / bytes of an item parameter; empty when there is none.
    const CStringBuf& getText(int group, int element) const noexcept;
    std::span<const unsigned char> getRaw(int group, int element) const noexcept;

    /// The list of a group, elementCount x elementSize; empty for a group that does not exist.
    std::span<const double> values(int group) const noexcept;
    const CAudioParamData& data() const noexcept { return items; }

    /// Fills every group's list with its defaults.
    void fillWithDefaults();

    /// Writes the values of a request, growing the group's list as needed, holes filled with defaults. Groups beyond
    /// the count, elements beyond 65,536 and requests of another layout are left out; on a single-group or
    /// single-element storage index 0 is meant. Ids are counted and the items shared.
    void applyChange(const CAudioParamRequest& request);

    /// Stored form, see the preset format; group -1 writes all groups.
    CError save(COutputStream& stream, int group) const;

    /// Element size and type must be this storage's. Groups that the block lacks become empty, groups beyond this
    /// storage's count are read and dropped, as are elements and groups beyond the one of a single parameter. On
    /// failure nothing has changed.
    CError load(CInputStream& stream);

    /// Forces every value into its component's range, NaN to the low end; ids of no item become 0.
    void clampTo(const CAudioParamInfo& info);

private:
    struct CGroup
    {
        CArray<double> values;
    };
    static constexpr int inlineGroups = 12;
    CGroup& groupAt(int group) noexcept;
    const CGroup& groupAt(int group) const noexcept;
    const double* findElement(int group, int element) const noexcept;
    const CArray<double>* defaultList(int group) const noexcept;
    void applyToGroup(int group, int firstElement, int count, const CAudioParamRequest& request);
    void resize(CArray<double>& list, int group, int count);
    double takeItem(double value, const CAudioParamData* source);
    CError saveItems(COutputStream& stream, int firstGroup, int endGroup) const;

    std::uint32_t size = 1;
    CAudioParamType valueType = CAudioParamType::real;
    bool isSingleGroup = false;
    bool isSingleElement = false;
    CAudioParamData items;
    CGroup firstGroups[inlineGroups];
    CArray<CGroup> moreGroups;
    int groups = 0;
    CArray<CArray<double>> defaults;    // a list for every group that has one of its own; else list 0
};

}
