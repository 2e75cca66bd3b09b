// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObject.h"

#include <memory>

namespace kor
{

class CAudioParamFilter;

// Definition of a parameter filter, a child of a process definition: which parameters it reads and which it writes.
// Immutable after init, shared by all instances; any thread.
class CAudioParamFilterDef : public CObject
{
public:
    CError init() override;

    /// A new filter of this kind, to be given to its parameters by CAudioParamFilter::init.
    virtual std::unique_ptr<CAudioParamFilter> createFilter() const = 0;

    /// Names relative to the process node, see expandParamName; at least one each.
    const CArray<CStringBuf>& sources() const noexcept { return sourceNames; }
    const CArray<CStringBuf>& destinations() const noexcept { return destinationNames; }

private:
    CArray<CStringBuf> sourceNames;
    CArray<CStringBuf> destinationNames;
};

/// Definition whose filters are of class `Filter`.
template <class Filter>
class CAudioParamFilterDefOf : public CAudioParamFilterDef
{
public:
    std::unique_ptr<CAudioParamFilter> createFilter() const override { return std::make_unique<Filter>(); }
};

}
