// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CBiquadDesign.h"

namespace kor
{

// The fits of a biquad to an analog prototype. frequency: cycles per sample, 0 to 0.5; bandwidth: octaves; gain:
// linear, above 0, and not 1 for the peaking designs. Results may be not finite where a fit has no solution. Pure.
//
// The textbook forms of A and B take small differences of numbers near one, and lose half of their digits at low
// frequencies. Written out with the prototype's distance from its centre, q = ((e^2 - c^2) / e)^2, the differences
// cancel on paper; what is left has products only.

CBiquadDesign magnusPeakA(double frequency, double bandwidth, double gain) noexcept;
CBiquadDesign magnusPeakB(double frequency, double bandwidth, double gain) noexcept;
CBiquadDesign magnusPeakNyquist(double frequency, double bandwidth, double gain) noexcept;
CBiquadDesign magnusBandPassA(double frequency, double bandwidth, double gain) noexcept;
CBiquadDesign magnusBandPassB(double frequency, double bandwidth) noexcept;
CBiquadDesign magnusBandPassNyquist(double frequency, double bandwidth) noexcept;

}
