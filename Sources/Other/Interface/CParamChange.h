// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamData.h"
#include "Audio/Parameters/CAudioParamRequest.h"

namespace kor
{

// A change request as it stands in a message, with values and items of its own. One thread at a time.
class CParamChange
{
public:
    /// Valid until the next read.
    const CAudioParamRequest& request() const noexcept { return change; }

    /// Reads what came from the other side: on failure of any kind, values that no request can have included, the
    /// change is as before. Memory is taken as bytes arrive.
    CError read(CInputStream& stream);

    /// Texts and bytes go with the change; ids of no item go without one and read as empty.
    static CError write(COutputStream& stream, const CAudioParamRequest& request);

private:
    CAudioParamRequest change;
    CArray<double> values;
    CAudioParamData items;
};

}
