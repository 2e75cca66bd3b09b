// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamUndo.h"
#include "Core/CObject.h"

namespace kor
{

// An instance's side of the road between parameters and window (`audio:interface-base`). What travels there today is
// the undo history, which the registries of the instance find here.
class CAudioInterfaceBase : public CObject, public CAudioParamUndo
{
public:
    CError init() override;
};

}
