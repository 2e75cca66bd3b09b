// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CCreatorTable.h"

#include <span>

namespace kor
{

/// The object types of this room.
std::span<const CCreatorRow> processCreators();

}
