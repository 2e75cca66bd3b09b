// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioPresetBank.h"

#include <span>

namespace kor
{

/// What a file of presets is, which its first four bytes tell.
enum class CPresetFileKind
{
    preset,
    bank,
    list
};

// The content of a preset file, a bank file or a stored list of banks, whichever it is.
class CPresetFile
{
public:
    /// Largest body, inflated, that is read or made: a thousand times what the largest bank of ours takes, and little
    /// enough for any machine.
    static constexpr std::size_t largestBody = CInputStream::largestData;

    CPresetFileKind kind = CPresetFileKind::preset;

    /// A list's banks. A bank is the only one here, a preset the only one of the only bank.
    CArray<CAudioPresetBank> banks;

    /// Takes a whole file. On failure nothing has changed.
    CError read(std::span<const unsigned char> file);

    /// The whole file, compressed, and the body alone. On failure `out` is untouched.
    CError write(CByteArray& out) const;
    CError writeBody(CByteArray& out) const;

private:
    CError readBody(std::span<const unsigned char> body);
};

}
