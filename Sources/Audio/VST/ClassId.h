// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStringBuf.h"

#include <pluginterfaces/base/funknown.h>

namespace kor
{

/// Reads a class id from a text that begins with 8-4-4-4-12 hexadecimal digits, in the byte order of a GUID: its first
/// three groups are little-endian numbers. False for any other text; `id` is then untouched.
bool parseClassId(const CStringBuf& text, Steinberg::TUID id) noexcept;

}
