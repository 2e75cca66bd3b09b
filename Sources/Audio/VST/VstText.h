// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStringBuf.h"

#include <pluginterfaces/vst/vsttypes.h>

#include <cstring>
#include <string>

namespace kor
{

/// Writes a text to a host's string of 128 units, cut at a character and ended by 0.
void putText(const CStringBuf& text, Steinberg::Vst::String128 out) noexcept;

/// A host's text, its first 127 units when it is longer. Null is empty.
CStringBuf takeText(const Steinberg::Vst::TChar* text);

/// Writes a text as UTF-8 to a field of a host's record, cut at a character; the rest of the field is 0.
template <std::size_t size>
void putUtf8(const CStringBuf& text, char (&field)[size])
{
    CStringBuf fitting = text;
    fitting.cutToUtf8Bytes(size - 1);
    const std::string bytes = fitting.toUtf8();
    std::memset(field, 0, size);
    bytes.copy(field, size - 1);
}

/// The same as 16-bit units.
template <std::size_t size>
void putUnits(const CStringBuf& text, Steinberg::char16 (&field)[size]) noexcept
{
    std::memset(field, 0, sizeof(field));
    for (int i = 0; i < text.length() && i < static_cast<int>(size) - 1; ++i)
        field[i] = text.at(i);
}

}
