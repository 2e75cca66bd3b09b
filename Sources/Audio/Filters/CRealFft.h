// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <vector>

namespace kor
{

// The real FFT of the system, in double precision: seven operations behind one table of functions. The table exists
// once per instruction set that brings a measured gain, and realFft() picks one of them, once, by what the processor
// offers; the choice changes a result by rounding only.
//
// Spectra are packed into as many values as the block has samples, N: value 0 is the real part of bin 0, value 1 the
// real part of bin N / 2, the values 2k and 2k + 1 are the real and imaginary part of bin k for k = 1 to N / 2 - 1.
//
// A specification holds the tables of one size. It is only read once it is prepared, so that any number of threads may
// share one; a work buffer serves one call at a time. Both, and the init buffer, start at a multiple of bufferAlignment
// bytes; blocks of samples and bins need no alignment, but aligned ones are faster.
struct CRealFft
{
    static constexpr int maxOrder = 22;                    // 4,194,304 samples; 50 MB of tables
    static constexpr int noScaling = 8;                    // flags: forward, then inverse, multiplies by N
    static constexpr std::size_t bufferAlignment = 64;

    struct CSizes                                          // in bytes
    {
        std::size_t specification = 0, init = 0, work = 0;
    };

    /// The sizes for blocks of 2^order samples. Order 0 to maxOrder, flags noScaling, any hint; else every size is 0
    /// and the result is false. Any thread.
    bool (*getSizes)(int order, int flags, int hint, CSizes& sizes) noexcept;

    /// Prepares a specification; the init buffer may be dropped afterwards. Accepts what getSizes accepts, else
    /// touches nothing and returns false. Any thread.
    bool (*init)(int order, int flags, int hint, void* specification, void* initBuffer) noexcept;

    /// N samples to a packed spectrum. `source` may equal `result`, else the two do not overlap. Audio thread.
    void (*forward)(const double* source, double* result, const void* specification, void* work) noexcept;

    /// A packed spectrum to N samples, N times too large. `source` may equal `result` as above. Audio thread.
    void (*inverse)(const double* source, double* result, const void* specification, void* work) noexcept;

    /// result = a b, bin by bin, for packed spectra of `count` values, a power of two. The result may be a, b or both.
    void (*multiplyPacked)(const double* a, const double* b, double* result, int count) noexcept;

    /// result += a b likewise.
    void (*multiplyAddPacked)(const double* a, const double* b, double* result, int count) noexcept;

    /// result = source^2 likewise.
    void (*squarePacked)(const double* source, double* result, int count) noexcept;

    const char* name;                                      // of the instruction set, for benchmarks and failed tests
};

/// The build for this processor. Any thread.
const CRealFft& realFft() noexcept;

/// All builds that this processor can run, the best first, for tests and benchmarks. While it runs no other thread
/// may use functions that choose by instruction set.
std::vector<const CRealFft*> allRealFftBuilds();

}
