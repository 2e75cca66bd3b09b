// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CCreatorTable.h"

#include <span>

namespace kor
{

/// Creator rows of the graph's object types.
std::span<const CCreatorRow> graphCreators();

}
