// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CHalfBandStage.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

namespace kor
{

template <int count>
CHalfBandStage<count>::CHalfBandStage(const double* a, const double* b) noexcept
{
    std::copy(a, a + count, coefficients[0]);
    std::copy(b, b + count, coefficients[1]);
}

template <int count>
void CHalfBandStage<count>::process(const double* in, double* out, int samples) noexcept
{
    if (passes)
    {
        if (in != out)
            std::copy(in, in + samples, out);
        return;
    }
    if (samples <= 0)
        return;
    const int paired = samples & ~1;
    if (paired > 0)
        halfBandKernel().process[count - 1]({coefficients[0], memory[0], &late}, in, out, paired);
    if (samples > paired)
        out[paired] = processSample(in[paired]);
    if (!std::isfinite(out[samples - 1] + late))
    {
        std::fill_n(memory[0], (count + 1) * CHalfBandRun::streams, 0.0);
        late = 0.0;
    }
}

// The sections of the first streams only, which the others take the place of.
template <int count>
double CHalfBandStage<count>::processSample(double x) noexcept
{
    double end[2];
    for (int chain = 0; chain < 2; ++chain)
    {
        const int now = 2 * chain;
        double u = x;
        for (int section = 0; section < count; ++section)
        {
            const double v = coefficients[chain][section] * (u - memory[section + 1][now]) + memory[section][now];
            memory[section][now] = u;
            u = v;
        }
        memory[count][now] = u;
        end[chain] = u;
    }
    for (double* point : memory)
    {
        std::swap(point[0], point[1]);
        std::swap(point[2], point[3]);
    }
    const double y = 0.5 * (end[0] + late);
    late = end[1];
    return y;
}

namespace
{

template <int count>
CAudioFilterStageKind makeHalfBandKind() noexcept
{
    using Stage = CHalfBandStage<count>;
    CAudioFilterStageKind kind{};
    kind.id = filterKind::halfBand1 + count - 1;
    kind.stateSize = sizeof(Stage);
    kind.init = [](void* state, std::span<const double> row, double) noexcept
    {
        if (row.size() == 2 * count)
            new (state) Stage(row.data(), row.data() + count);
    };
    kind.update = [](void* state, std::span<const double> row) noexcept
    {
        if (row.size() == 2 * count)
            new (state) Stage(row.data(), row.data() + count);
    };
    kind.updateToIdentity = [](void* state) noexcept { static_cast<Stage*>(state)->passInput(); };
    kind.process = [](void* state, const double* in, double* out, int samples) noexcept
    { static_cast<Stage*>(state)->process(in, out, samples); };
    return kind;
}

}

CAudioFilterStageKind halfBandStageKind(int count) noexcept
{
    switch (count)
    {
    case 1: return makeHalfBandKind<1>();
    case 2: return makeHalfBandKind<2>();
    case 3: return makeHalfBandKind<3>();
    case 4: return makeHalfBandKind<4>();
    case 5: return makeHalfBandKind<5>();
    case 6: return makeHalfBandKind<6>();
    case 7: return makeHalfBandKind<7>();
    default: return makeHalfBandKind<8>();
    }
}

}
