// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kor
{

/// What the detector of a dynamic band computes with. The coefficients are those of one-pole smoothers, above 0 and at
/// most 1, see morvaEnvCoefficient.
struct CMorvaEnvSettings
{
    double kAttack = 1.0; // of the fast powers while they rise
    double kRelease = 1.0; // of the slow powers, and of the fast ones while they fall
    double kEnvAttack = 1.0; // of ratio and level while they fall
    double kEnvRelease = 1.0; // of ratio and level while they rise
    double dyn = 1.0; // gain on 1 - ratio

    bool operator==(const CMorvaEnvSettings&) const = default;
};

/// Memory of one detector: slow and fast power of the filtered and of the dry signal, the smoothed ratio of them and the
/// smoothed position.
struct CMorvaEnvState
{
    double fltSlow = 0.01;
    double inSlow = 0.01;
    double fltFast = 0.01;
    double inFast = 0.01;
    double ratio = 1.0;
    double level = 1.0;

    bool operator==(const CMorvaEnvState&) const = default;

    bool isFinite() const noexcept;
};

/// One detector's share of a block. `out` may be `filtered` or `dry`, and is apart from the buffers of other runs.
struct CMorvaEnvRun
{
    const CMorvaEnvSettings* settings;
    CMorvaEnvState* state;
    const double* filtered;
    const double* dry;
    double* out;
};

/// Added to every divisor, so that silence divides by no zero.
constexpr double morvaEnvFloor = 1e-10;

/// The coefficient of a time in seconds, above 0, at a rate in hertz. It and 1 - coefficient are exact doubles, so that a
/// smoother written with both of them settles on its input whatever the time.
double morvaEnvCoefficient(double timeSeconds, double rateHz) noexcept;

/// The detector one sample after the other: what the kernels are measured by, and the routine for settings whose
/// smoothers they do not know. Any count.
void processMorvaEnv(const CMorvaEnvRun& run, int count) noexcept;

/// The same, and 1 - position out.
void processMorvaEnvInverted(const CMorvaEnvRun& run, int count) noexcept;

}
