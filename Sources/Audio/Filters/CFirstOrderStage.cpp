// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CFirstOrderStage.h"

#include <cmath>
#include <new>

namespace kor
{

CFirstOrderStage::CFirstOrderStage(const CFirstOrderCoefficients& coefficients, double sampleRate) noexcept
{
    walk.current = walk.target = coefficients;
    walk.fade.setLength(fadeSeconds, sampleRate);
}

void CFirstOrderStage::update(const CFirstOrderCoefficients& coefficients) noexcept
{
    walk.aim(coefficients, []() noexcept {});
}

void CFirstOrderStage::updateToIdentity() noexcept
{
    update({walk.goal().k, 1.0, 0.0});
}

void CFirstOrderStage::process(const double* in, double* out, int count) noexcept
{
    const auto nothing = []() noexcept {};
    walk.run(
        in, out, count,
        [this](const double* from, double* to, int length) noexcept { processFade(from, to, length); }, nothing,
        nothing);
    const CFirstOrderCoefficients c = walk.current;
    double state = s;
    for (int i = 0; i < count; ++i)
    {
        const double x = in[i];
        state += (x - state) * c.k;
        out[i] = c.direct * x + c.smoothed * state;
    }
    s = std::isfinite(state) ? state : 0.0;     // a bad sample does not stay for ever
}

void CFirstOrderStage::processFade(const double* in, double* out, int count) noexcept
{
    CCoefficientFade f = walk.fade;
    const CFirstOrderCoefficients from = walk.current;
    const CFirstOrderCoefficients to = walk.target;
    double state = s;
    for (int i = 0; i < count; ++i)
    {
        const double x = in[i];
        const double A = 0.5 + f.s;
        const double B = 0.5 - f.s;
        state += (x - state) * (A * from.k + B * to.k);
        out[i] = (A * from.direct + B * to.direct) * x + (A * from.smoothed + B * to.smoothed) * state;
        f.step();
    }
    s = state;
    f.remaining -= count;
    walk.fade = f;
}

namespace
{

template <int id>
bool read(CFirstOrderCoefficients& c, std::span<const double> row) noexcept
{
    if (row.size() != 3)
        return false;
    c.k = 1.0 + row[2];
    if (id == filterKind::firstOrderLowPass)
    {
        c.direct = 0.0;
        c.smoothed = 1.0;
        return true;
    }
    const double gain = id == filterKind::firstOrderHighPassGain ? row[1] / row[2] : 1.0;
    c.direct = std::isfinite(gain) ? gain : 1.0;
    c.smoothed = -c.direct;
    return true;
}

template <int id>
CAudioFilterStageKind makeKind() noexcept
{
    CAudioFilterStageKind kind{};
    kind.id = id;
    kind.stateSize = sizeof(CFirstOrderStage);
    kind.init = [](void* state, std::span<const double> coefficients, double sampleRate) noexcept
    {
        CFirstOrderCoefficients c;
        if (read<id>(c, coefficients))
            new (state) CFirstOrderStage(c, sampleRate);
    };
    kind.update = [](void* state, std::span<const double> coefficients) noexcept
    {
        CFirstOrderCoefficients c;
        if (read<id>(c, coefficients))
            static_cast<CFirstOrderStage*>(state)->update(c);
    };
    kind.updateToIdentity = [](void* state) noexcept { static_cast<CFirstOrderStage*>(state)->updateToIdentity(); };
    kind.process = [](void* state, const double* in, double* out, int count) noexcept
    { static_cast<CFirstOrderStage*>(state)->process(in, out, count); };
    return kind;
}

}

CAudioFilterStageKind firstOrderStageKind(int id) noexcept
{
    switch (id)
    {
    case filterKind::firstOrderLowPass:
        return makeKind<filterKind::firstOrderLowPass>();
    case filterKind::firstOrderHighPass:
        return makeKind<filterKind::firstOrderHighPass>();
    default:
        return makeKind<filterKind::firstOrderHighPassGain>();
    }
}

}
