// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CMorvaEnvState.h"

#include "Audio/Filters/COnePole.h"

#include <cmath>

namespace kor
{

namespace
{

// The slow powers alone decide which signal is the stronger; the fast ones are taken the same way round, so that the
// result, their geometric mean, may pass 1 in a transient.
double powerRatio(const CMorvaEnvState& s) noexcept
{
    constexpr double e = morvaEnvFloor;
    return s.fltSlow > s.inSlow ? std::sqrt(s.inSlow / (s.fltSlow + e) * s.inFast / (s.fltFast + e))
                                : std::sqrt(s.fltFast * (s.fltSlow / (s.inSlow + e)) / (s.inFast + e));
}

template <bool isInverted>
void process(const CMorvaEnvRun& run, int count) noexcept
{
    const CMorvaEnvSettings k = *run.settings;
    CMorvaEnvState s = *run.state;
    for (int i = 0; i < count; ++i)
    {
        const double flt = run.filtered[i] * run.filtered[i];
        const double in = run.dry[i] * run.dry[i];
        s.fltSlow += (flt - s.fltSlow) * k.kRelease;
        s.fltFast += (flt - s.fltFast) * (flt > s.fltFast ? k.kAttack : k.kRelease);
        s.inSlow += (in - s.inSlow) * k.kRelease;
        s.inFast += (in - s.inFast) * (in > s.inFast ? k.kAttack : k.kRelease);

        const double q = powerRatio(s);
        s.ratio += (q - s.ratio) * (s.ratio >= q ? k.kEnvAttack : k.kEnvRelease);
        // Stands in for an exponential: its series to the fourth order, turned over.
        const double d = 2.0 * k.dyn * (1.0 - s.ratio);
        const double g = 24.0 / (d * (((3.0 + d) * d + 6.0) * d + 12.0) + 24.0);
        s.level += (g - s.level) * (s.level >= g ? k.kEnvAttack : k.kEnvRelease);
        run.out[i] = isInverted ? 1.0 - s.level : s.level;
    }
    *run.state = s;
}

}

bool CMorvaEnvState::isFinite() const noexcept
{
    return std::isfinite(fltSlow + inSlow + fltFast + inFast + ratio + level);
}

double morvaEnvCoefficient(double timeSeconds, double rateHz) noexcept
{
    return 1.0 - (1.0 - onePoleOfTime(timeSeconds, rateHz));
}

void processMorvaEnv(const CMorvaEnvRun& run, int count) noexcept
{
    process<false>(run, count);
}

void processMorvaEnvInverted(const CMorvaEnvRun& run, int count) noexcept
{
    process<true>(run, count);
}

}
