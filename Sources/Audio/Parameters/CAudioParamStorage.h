// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamData.h"
#include "Audio/Parameters/CAudioParamRequest.h"
#include "Core/CStream.h"

#include <cstdint>

namespace kor
{

class CAudioParamInfo;

// Values of one parameter: a list of elements for every group, of doubles or of ids into its own item table, and the
// default list that answers for what no group holds. Reading never fails. Belongs to one thread, or to whoever holds
// the parameter's lock. Once grown, changes within the held sizes allocate nothing.
class CAudioParamStorage
{
public:
    CAudioParamStorage();
    CAudioParamStorage(const CAudioParamStorage& other);
    CAudioParamStorage& operator=(const CAudioParamStorage& other);
    ~CAudioParamStorage();

    /// Drops values and items and takes over element size, type and flags; defaults come from `info` too.
    void clear(const CAudioParamInfo& info);

    /// 0 to 64 groups; new groups start empty.
    void setGroupCount(int count);
    int groupCount() const noexcept;
    int elementCount(int group) const noexcept;
    int elementSize() const noexcept;
    CAudioParamType type() const noexcept;

    /// The stored value, else the default list's entry, else 0.0 where there is no default either.
    double getValue(int group, int element, int component = 0) const noexcept;

    /// Text / bytes of an item parameter; empty when there is none.
    const CStringBuf& getText(int group, int element) const noexcept;
    const CByteArray* getRaw(int group, int element) const noexcept;

    /// Writes the values of a request, growing the group's list as needed.
    void applyChange(const CAudioParamRequest& request);

    /// Stored form, see the preset format; group -1 writes all groups.
    CError save(COutputStream& stream, int group) const;
    CError load(CInputStream& stream);
    void clampTo(const CAudioParamInfo& info);

private:
    struct CGroup
    {
        CArray<double> values;
    };
    static constexpr int inlineGroups = 12;
    CGroup& groupAt(int group) noexcept;
    const CGroup& groupAt(int group) const noexcept;

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
