// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kor
{

/// A second-order section, y = (b0 + b1 z^-1 + b2 z^-2) / (1 + a1 z^-1 + a2 z^-2) x.
struct CBiquadCoefficients
{
    double b0 = 1.0, b1 = 0.0, b2 = 0.0, a1 = 0.0, a2 = 0.0;
};

// The memory of a section, and how its rounding errors stay small. A direct form II keeps w = w[n-1] and w[n-2]. For
// poles close to z = 1 or z = -1 these are about 1 / angle^2 times the signal, and the output comes from differences of
// such numbers; so there the second value is the difference d = w[n-1] - side w[n-2] instead, where side is 1 or -1,
// the end of the circle that the poles are near, and every product has the size of what it contributes. In the middle
// of the band the direct form is the best conditioned of the three: side 0, d = w[n-2].
struct CBiquadMemory
{
    double w = 0.0;
    double d = 0.0;
};

/// One sample of a section in such a memory, linear in the coefficients of the section, so that a crossfade may
/// interpolate all five for one and the same side:
///   next = x + nextW w + nextD d,   y = b0 next + outW w + outD d,   w' = side w + next,   d' = next, or w for side 0.
struct CBiquadStep
{
    double nextW = 0.0, nextD = 0.0;
    double b0 = 1.0, outW = 0.0, outD = 0.0;
};

/// The side that suits the poles: 1, -1 or 0.
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

    CBiquadStep sample;
    double nextWLow;                    // what sample.nextW lost in rounding
    double side;

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
