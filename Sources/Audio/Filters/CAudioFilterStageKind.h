// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <span>

namespace kor
{

// How one kind of filter section runs. Its operations work on a block of memory of stateSize bytes, one per channel,
// aligned to stateAlignment; all of them come on the audio thread and none allocates. Coefficients are numerator and
// denominator in one row, with the kind's own count; a row of another length leaves the state as it is.
struct CAudioFilterStageKind
{
    static constexpr std::size_t stateAlignment = 64;

    int id;
    std::size_t stateSize;

    /// Starts a section at full coefficient value, with empty memory. sampleRate: hertz.
    void (*init)(void* state, std::span<const double> coefficients, double sampleRate) noexcept;

    /// New coefficients for a running section; the change is faded in where the kind has a fade.
    void (*update)(void* state, std::span<const double> coefficients) noexcept;

    /// The same towards a section that passes its input.
    void (*updateToIdentity)(void* state) noexcept;

    /// `in` and `out` are the same or apart. count: 0 or more.
    void (*process)(void* state, const double* in, double* out, int count) noexcept;
};

/// The ids of the kinds.
namespace filterKind
{
constexpr int halfBand1 = 1;                // to halfBand1 + 7: 1 to 8 coefficients per branch
constexpr int biquad = 11;
constexpr int biquadLowPass = 12;
constexpr int biquadHighPass = 13;
constexpr int biquadBandPass = 14;
constexpr int biquadNotch = 15;
constexpr int firstOrderLowPass = 21;
constexpr int firstOrderHighPass = 22;
constexpr int firstOrderHighPassGain = 23;  // corrected to -3 dB at its frequency
}

}
