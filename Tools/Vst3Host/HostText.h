// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "pluginterfaces/vst/vsttypes.h"

#include <string>
#include <string_view>

namespace kor
{

/// UTF-8 of a text that a plug-in wrote; it ends at its NUL, at the latest behind 128 units.
std::string textOf(const Steinberg::Vst::String128& text);

/// Text for a plug-in, cut to 127 units and ended by a NUL.
void putText(Steinberg::Vst::String128& out, std::string_view utf8);

/// Text in a field of fixed size that need not be ended.
template <std::size_t size>
std::string fieldText(const char (&field)[size])
{
    const std::string_view all(field, size);
    return std::string(all.substr(0, all.find('\0')));
}

}
