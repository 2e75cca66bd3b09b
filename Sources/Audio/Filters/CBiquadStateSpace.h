// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kor
{

/// A second-order section, y = (b0 + b1 z^-1 + b2 z^-2) / (1 + a1 z^-1 + a2 z^-2) x.
struct CBiquadCoefficients
{
    double b0 = 1.0, b1 = 0.0, b2 = 0.0, a1 = 0.0, a2 = 0.0;
};

/// Memory of a section. The direct form II keeps w[n-1] and w[n-2]; here it is w = w[n-1] and d = w[n-1] - side w[n-2],
/// where side is 1 or -1, the end of the unit circle that the poles are nearer to.
struct CBiquadMemory
{
    double w = 0.0;
    double d = 0.0;
};

// A section in a state whose rounding errors stay small when the poles lie close to z = 1 or z = -1. There w is about
// 1 / angle^2 times the signal, and a direct form II takes the output from differences of such numbers; with the
// difference d as a state of its own every product has the size of what it contributes. The numbers below are linear
// in the coefficients of the section, so that a crossfade may interpolate them for one and the same side:
//   d' = x - side pole w + side a2 d,   y = side zero w + b0 d' - side b2 d,   w' = side w + d'.
struct CBiquadStep
{
    double pole = 1.0;          // denominator at z = side: 1 + side a1 + a2
    double zero = 1.0;          // numerator at z = side: b0 + side b1 + b2
    double b0 = 1.0, b2 = 0.0, a2 = 0.0;
};

/// 1 or -1: the end of the unit circle that the poles are nearer to.
double biquadSide(const CBiquadCoefficients& c) noexcept;

CBiquadStep biquadStep(const CBiquadCoefficients& c, double side) noexcept;

/// The same memory expressed for another side.
CBiquadMemory biquadMemoryFor(const CBiquadMemory& memory, double side, double newSide) noexcept;

// The settled section as a block state space: from eight inputs and the memory to eight outputs and the next memory, by
// products that wait for nothing but the memory, so that the latency of the recurrence is paid once in eight samples.
// All numbers are worked out with spare digits; what the memory is multiplied by over eight samples carries a second
// word, since an error in it would move the poles, which a narrow band shows some hundred times larger.
struct alignas(64) CBiquadBlock
{
    static constexpr int length = 8;

    double response[length][length];    // [j][i]: input j to output i
    double fromW[length];               // memory to output i
    double fromD[length];
    double toMemory[2][length];         // input j to w and to d
    alignas(16) double step[2][2];      // [from w, d][to w, d]: memory over a block, less the identity
    alignas(16) double stepLow[2][2];   // what `step` lost in rounding

    // One sample: y = direct x + fromW[0] w + fromD[0] d; d' = x + (poleW + poleWLow) w + poleD d; w' = side w + d'.
    double direct, poleW, poleWLow, poleD, side;

    /// Sets all of it. Audio thread; a microsecond or so.
    void design(const CBiquadCoefficients& c) noexcept;
};

/// Runs a settled section over any count of samples. `in` and `out` are the same or apart. Audio thread.
void processBiquad(const CBiquadBlock& block, CBiquadMemory& memory, const double* in, double* out,
                   int count) noexcept;

/// The same one sample at a time: for what is left behind whole blocks, and for processors without vectors.
void processBiquadSamples(const CBiquadBlock& block, CBiquadMemory& memory, const double* in, double* out,
                          int count) noexcept;

}
