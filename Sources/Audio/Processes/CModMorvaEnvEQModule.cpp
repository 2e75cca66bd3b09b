// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModMorvaEnvEQModule.h"

#include <algorithm>

namespace kor
{

void CModMorvaEnvEQModule::registerParams()
{
    for (int i = 0; i < slotCount; ++i)
        slots[i] = registerParam(i);
}

void CModMorvaEnvEQModule::reset()
{
    state = {};
}

bool CModMorvaEnvEQModule::update()
{
    const CValues fallback;
    CValues next;
    next.invert = paramValue(slots[0]) >= 0.5;
    next.attack = paramValue(slots[1], fallback.attack);
    next.release = paramValue(slots[2], fallback.release);
    next.dyn = paramValue(slots[3], fallback.dyn);
    next.envAttack = paramValue(slots[4], fallback.envAttack);
    next.envRelease = paramValue(slots[5], fallback.envRelease);
    if (inited && next == values)
        return false;
    inited = true;
    values = next;
    settings.kAttack = morvaEnvCoefficient(values.attack, sampleRate);
    settings.kRelease = morvaEnvCoefficient(values.release, sampleRate);
    settings.kEnvAttack = morvaEnvCoefficient(values.envAttack, sampleRate);
    settings.kEnvRelease = morvaEnvCoefficient(values.envRelease, sampleRate);
    settings.dyn = values.dyn;
    const CMorvaEnvKernel& kernel = CMorvaEnvKernel::suits(settings) ? morvaEnvKernel() : plainMorvaEnvKernel();
    envProc = values.invert ? &kernel.inverted : &kernel.plain;
    return true;
}

bool CModMorvaEnvEQModule::hasSameSettings(const CAudioModule& current) const
{
    return values == static_cast<const CModMorvaEnvEQModule&>(current).values;
}

bool CModMorvaEnvEQModule::isAlike(const CModMorvaEnvEQModule& other) const noexcept
{
    return envProc == other.envProc && settings == other.settings && state == other.state;
}

CMorvaEnvRun CModMorvaEnvEQModule::run(std::span<const double* const> in, double* out) noexcept
{
    return {&settings, &state, in[0], in.size() > 1 ? in[1] : nullptr, out};
}

void CModMorvaEnvEQModule::processPorts(std::span<const double* const> in, double* out, int count)
{
    CMorvaEnvRun whole = run(in, out);
    if (whole.dry != nullptr)
    {
        envProc->one(&whole, count);
    }
    else
    {
        static constexpr int sliceLength = 512;
        static const double silence[sliceLength] = {};
        for (int at = 0; at < count; at += sliceLength)
        {
            const CMorvaEnvRun slice = {whole.settings, whole.state, whole.filtered + at, silence, whole.out + at};
            envProc->one(&slice, std::min(sliceLength, count - at));
        }
    }
    recover();
}

void CModMorvaEnvEQModule::recover() noexcept
{
    if (!state.isFinite())
        reset();
}

}
