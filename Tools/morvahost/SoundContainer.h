// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"

#include <string>

namespace kor
{

/// Fails when a WAV, RF64 or AIFF file holds fewer bytes of sound than its header announces. Sound libraries read such
/// a file as a shorter one without a word, and a recording that was cut off in a copy would be taken for whole. Files
/// of other kinds pass, as do those whose writer left the size open (a stream that was never closed).
CError checkSoundIsWhole(int descriptor, const std::string& path);

}
