// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObject.h"

namespace kor
{

/// Puts a generator into a slot of the array above it (`audio:fltgen-array-item`).
class CAudioFilterGenArrayItem : public CObject
{
public:
    CError init() override;
};

}
