// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CCreatorTable.h"

#include <span>

namespace kor
{

/// Creator rows of the object types between audio side and window.
std::span<const CCreatorRow> interfaceCreators();

}
