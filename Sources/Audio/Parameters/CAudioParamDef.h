// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamInfo.h"
#include "Core/CObject.h"

namespace kor
{

// Definition of a parameter in the shared tree (`audio:param`). Immutable after init; any thread may read the info.
class CAudioParamDef : public CObject
{
public:
    CError init() override;
    const CAudioParamInfo& info() const noexcept { return paramInfo; }

private:
    CAudioParamInfo paramInfo;
};

}
