// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStringBuf.h"

namespace kor
{

/// Full dotted name of a parameter or process named inside a process definition of the dotted path `basePath`:
/// "/a.b" is a.b, each leading "^" drops the last component of the path, anything else goes behind it.
/// "^^" beyond the path's start leaves the bare name. Any thread.
CStringBuf expandParamName(const CStringBuf& name, const CStringBuf& basePath);

}
