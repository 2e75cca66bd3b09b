// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CCreatorTable.h"

#include <span>

namespace kor
{

/// All object types of the parameters' and converters' rooms, for the application's creator table.
std::span<const CCreatorRow> parameterCreators();

}
