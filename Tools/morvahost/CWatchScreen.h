// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CAnalysis.h"

#include <string>
#include <vector>

namespace kor
{

/// What a screen is made of.
struct CScreenKind
{
    int width = 80;                     // characters in a line
    bool hasBlocks = false;             // block elements of Unicode, else plain ASCII

    /// The terminal behind standard output, by its size and by the environment's locale.
    static CScreenKind ofTerminal();
};

/// Meters and spectrum as lines of text, of the same number for the same channels.
std::vector<std::string> watchScreen(const CAnalysis& analysis, double seconds, const CScreenKind& kind);

/// The meters in one line, for a log.
std::string watchLine(const CAnalysis& analysis, double seconds);

}
