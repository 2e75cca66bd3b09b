// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CTarget.h"

namespace kor
{

// Drives one attribute of several objects that cannot link to it themselves. Attributes: `value`, normally a live link;
// `target`, blank-separated paths, resolved once at the start; `attr`, the attribute that is set on each, in that order,
// whenever `value` changes.
class CAttrDoubler : public CObject
{
public:
    static void initClass(CObjectClassInfo& info);

    /// "No target objects specified." / "Target object '%1' not found."
    CError init() override;

private:
    CError onValue(CAttrValue& value);

    CArray<std::unique_ptr<CTarget<CObject>>> targets;
};

}
