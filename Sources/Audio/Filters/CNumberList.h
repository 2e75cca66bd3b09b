// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringBuf.h"

namespace kor
{

/// Reads decimal numbers between commas; blanks around them do not count and an empty text is an empty list. Fails with
/// "Invalid number '%1' specified." and leaves `out` as it was.
CError readNumberList(CArray<double>& out, const CStringBuf& text);

}
