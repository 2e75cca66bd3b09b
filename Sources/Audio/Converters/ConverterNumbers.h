// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStringBuf.h"

namespace kor
{

/// Most decimals that a number is written with.
constexpr int maxDecimals = 9;

/// Writes a number with `decimals` (0 to maxDecimals) digits behind the point: rounded half away from zero at that
/// digit, the digits taken from the rounded integer, so that no binary fraction and no negative zero shows. Numbers
/// that are not finite read "inf", "-inf" and "nan".
CStringBuf decimalText(double value, int decimals);

/// True when |value|, rounded to `decimals` digits behind the point, is below `bound`.
bool roundsBelow(double value, int decimals, double bound) noexcept;

/// The evenly spread position map and its inverse.
inline double linearToReal(double min, double max, double x) noexcept { return min + (max - min) * x; }
inline double linearToNormalised(double min, double max, double value) noexcept { return (value - min) / (max - min); }

/// The map with more room at the low end, and its inverse.
double squareToReal(double min, double max, double x) noexcept;
double squareToNormalised(double min, double max, double value) noexcept;

}
