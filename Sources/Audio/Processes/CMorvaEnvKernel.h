// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Processes/CMorvaEnvState.h"

#include <vector>

namespace kor
{

/// A detector's routine, for one channel and for two at once; `runs` points to as many. Any count.
struct CMorvaEnvRoutine
{
    void (*one)(const CMorvaEnvRun* runs, int count);
    void (*two)(const CMorvaEnvRun* runs, int count);
};

// The detector compiled once per instruction set; the best build for the processor is chosen once. The choice, and that
// between these and the plain form, changes a result by rounding only, the cut into blocks nothing at all. Powers beyond
// 1e154 overflow here, as they do in the plain form beyond 1e308: the state then says so, see isFinite.
struct CMorvaEnvKernel
{
    CMorvaEnvRoutine plain;
    CMorvaEnvRoutine inverted;
    const char* name; // of the instruction set, for benchmarks and failed tests

    /// True if the kernels know these settings' smoothers: powers rise no slower than they fall, ratio and level fall no
    /// slower than they rise.
    static bool suits(const CMorvaEnvSettings& settings) noexcept
    {
        return settings.kAttack >= settings.kRelease && settings.kEnvAttack >= settings.kEnvRelease;
    }
};

/// The build for this processor. Any thread.
const CMorvaEnvKernel& morvaEnvKernel() noexcept;

/// The plain form in the same dress, for all settings.
const CMorvaEnvKernel& plainMorvaEnvKernel() noexcept;

/// All builds that this processor can run, the best first, for tests and benchmarks. While it runs no other thread may
/// use functions that choose by instruction set.
std::vector<const CMorvaEnvKernel*> allMorvaEnvKernels();

}
