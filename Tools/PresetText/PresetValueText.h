// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringBuf.h"

#include <string>
#include <string_view>

namespace kor
{

class CAudioParamInfo;

/// Characters that end a value written without quotes.
constexpr std::string_view presetMarks = ",;*()[]|\"#@\n\r";

/// Stands for a value that holds no group.
constexpr std::string_view presetNothing = "nothing";

/// In quotes, with escapes for what an editor would not show or keep.
std::string quotedText(const CStringBuf& text);

/// A number as stored, in the shortest form that reads back the same; by its bits when it is not finite.
std::string storedNumber(double value);
bool parseStoredNumber(std::string_view text, double& value);

/// A number of a parameter in its unit, or the name of its state; "=" and the number as stored where no such text reads
/// back the same.
std::string shownNumber(const CAudioParamInfo& info, int component, double value);

/// Reads what shownNumber writes and what people write. The failure says what is wrong with it.
CError parseShownNumber(const CAudioParamInfo& info, int component, const std::string& text, double& value);

}
