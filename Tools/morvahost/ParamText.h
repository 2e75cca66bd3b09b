// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace kor
{

class CAudioParamInfo;

/// A value of a parameter's first component with its unit, as the plug-in would show it: "1.00k Hz", "Peaking".
std::string shownValue(const CAudioParamInfo& info, double value);

}
