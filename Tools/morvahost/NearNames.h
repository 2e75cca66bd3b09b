// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kor
{

/// ", did you mean 'a' or 'b'?": the up to three names nearest to a mistyped one; `otherwise` when none is near. A name
/// whose last dotted step is what was typed counts as near: people remember "freq" rather than the whole key.
std::string nearNameHint(std::string_view typed, const std::vector<std::string>& names, const char* otherwise);

}
