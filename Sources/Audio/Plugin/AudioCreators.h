// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CCreatorTable.h"

#include <span>

namespace kor
{

/// The object types of the audio side, all rooms of it and the framework's own, for the application's creator table.
/// Any thread; the rows live as long as the process.
std::span<const CCreatorRow> allCreators();

}
