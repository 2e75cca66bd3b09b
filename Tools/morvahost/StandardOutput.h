// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"

#include <string>

namespace kor
{

/// Writes a command's result; fails when nobody can take it.
CError writeOut(const std::string& text);

}
