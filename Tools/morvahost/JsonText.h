// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace kor
{

/// The shortest digits that read back as the same number, in every locale.
std::string numberText(double value);

/// The same as JSON has it: null for what is not finite.
std::string jsonNumber(double value);

/// In quotes; control characters become blanks.
std::string jsonText(const std::string& text);

}
