// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAllocator.h"
#include "Core/CError.h"
#include "Core/CStringBuf.h"
#include "Platform/CLock.h"

#include <memory>
#include <utility>

namespace kor
{

class CAudioParam;
class CAudioParamCollector;
class CAudioParamDef;

// The parameters below a registry's prefix, each under its key: what its name says behind the prefix ("eq-params.freq").
// Parameters come in from any thread and wait until the map is next asked for. Its lock is a leaf, so the map may be
// used under a parameter's lock; what it hands out stays as it is while new parameters come.
class CAudioParamRegistryMap
{
public:
    using CParams = CMap<CStringBuf, CAudioParam*>;

    /// Before anything else. keyPrefix ends with ".".
    void setUp(CAudioParamCollector& owner, const CStringBuf& keyPrefix);

    /// How definitions are found: blank-separated pairs "from=to", which put the first steps of a parameter's name in
    /// the place of others. "Invalid remapping string '%1' defined." for a piece that is no pair.
    CError readRemaps(const CStringBuf& text);

    const CStringBuf& prefix() const noexcept { return keyPrefix; }
    bool covers(const CStringBuf& fullName) const noexcept;

    /// A new parameter; one that the prefix does not cover, or that the collector does not find by its name, is left out.
    void add(CAudioParam& param);

    /// All parameters so far.
    std::shared_ptr<const CParams> params();

    /// The parameter that a stored key means, made and defined if there is a definition for it that can be stored;
    /// null otherwise. A key that is no plain name of dotted steps means none. May tell the collector's hooks of a new
    /// parameter, so no lock behind theirs may be held.
    CAudioParam* paramOfKey(const CStringBuf& key);

private:
    const CAudioParamDef* findDefinition(CStringBuf fullName) const;

    CAudioParamCollector* collector = nullptr;
    CStringBuf keyPrefix;
    CArray<std::pair<CStringBuf, CStringBuf>> remaps;

    CLock lock;                                     // all below
    CArray<CAudioParam*> pending;
    std::shared_ptr<const CParams> entered = std::make_shared<CParams>();
};

}
