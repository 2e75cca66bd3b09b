// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterSpec.h"

namespace kor
{

/// Magnitude of a designed filter in dB at a frequency, from the coefficients that also sound; minus infinity at a
/// zero. frequencyHz: 0 to half the rate. Keeps its digits for poles next to z = 1, where the squared magnitude is a
/// small difference of large terms. Any thread; a filter without stages gives 0 dB.
double filterMagnitudeDb(const CAudioFilterSpec& spec, double frequencyHz, double sampleRate) noexcept;

/// The same for one section alone, linear.
double stageMagnitude(const CAudioFilterStage& stage, double frequencyHz, double sampleRate) noexcept;

}
