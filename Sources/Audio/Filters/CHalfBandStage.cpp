// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CHalfBandStage.h"

#include <algorithm>
#include <cmath>
#include <new>

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
    int now = position;
    double late = delayed;
    for (int i = 0; i < samples; ++i)
    {
        now = (now + 3) & 3;
        const int before = (now + 2) & 3;
        double end[2];
        for (int chain = 0; chain < 2; ++chain)
        {
            double u = in[i];
            rings[chain][0][now] = u;
            for (int section = 0; section < count; ++section)
            {
                u = coefficients[chain][section] * (u - rings[chain][section + 1][before]) +
                    rings[chain][section][before];
                rings[chain][section + 1][now] = u;
            }
            end[chain] = u;
        }
        out[i] = 0.5 * (end[0] + late);
        late = end[1];
    }
    position = now;
    delayed = late;
    if (samples > 0 && !std::isfinite(out[samples - 1] + late))     // a bad sample does not stay for ever
    {
        std::fill_n(&rings[0][0][0], 2 * (count + 1) * 4, 0.0);
        delayed = 0.0;
    }
}

namespace
{

template <int count>
CAudioFilterStageKind makeKind() noexcept
{
    using Stage = CHalfBandStage<count>;
    static_assert(sizeof(Stage) == 80 * (count + 1));
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
    case 1: return makeKind<1>();
    case 2: return makeKind<2>();
    case 3: return makeKind<3>();
    case 4: return makeKind<4>();
    case 5: return makeKind<5>();
    case 6: return makeKind<6>();
    case 7: return makeKind<7>();
    default: return makeKind<8>();
    }
}

}
