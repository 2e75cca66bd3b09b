// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CBiquadStage.h"

#include <cmath>
#include <new>

namespace kor
{

namespace
{

// A design at exactly half the rate has both poles at z = -1, on top of its zeros: the output is right, and the memory
// grows without bound while it runs. Nothing can be faded out of such a memory, and coefficients that leave from there
// would take the poles along the circle without damping: the new filter starts on its own.
bool growsAtHalfRate(const CBiquadCoefficients& c) noexcept
{
    const double alpha = (1.0 - c.a2) / (1.0 + c.a2);
    return std::abs(1.0 - c.a1 + c.a2) < 1e-12 && alpha < 5e-4;
}

double stepSample(const CBiquadStep& c, double side, double& w, double& d, double x) noexcept
{
    const double next = x + (c.nextW * w + c.nextD * d);
    const double y = (c.outW * w + c.outD * d) + c.b0 * next;
    d = side == 0.0 ? w : next;
    w = side * w + next;
    return y;
}

}

CBiquadStage::CBiquadStage(const CBiquadCoefficients& coefficients, double sampleRate) noexcept
{
    walk.current = coefficients;
    block.design(walk.current);
    side = block.side;
    walk.fade.setLength(fadeSeconds, sampleRate);
}

void CBiquadStage::update(const CBiquadCoefficients& coefficients) noexcept
{
    walk.aim(coefficients, [this]() noexcept { prepareFade(); });
}

void CBiquadStage::prepareFade() noexcept
{
    const bool startsAnew = growsAtHalfRate(walk.current);
    if (startsAnew)
        memory = {};
    oldSide = side;
    oldMemory = memory;
    oldStep = biquadStep(walk.current, oldSide);
    side = biquadSide(walk.target);
    memory = biquadMemoryFor(memory, oldSide, side);
    toStep = biquadStep(walk.target, side);
    fromStep = startsAnew ? toStep : biquadStep(walk.current, side);
}

void CBiquadStage::process(const double* in, double* out, int count) noexcept
{
    walk.run(
        in, out, count,
        [this](const double* from, double* to, int length) noexcept { processFade(from, to, length); },
        [this]() noexcept { prepareFade(); }, [this]() noexcept { block.design(walk.current); });
    if (count > 0)
        processBiquad(block, memory, in, out, count);
    dropUnusableMemory();
}

void CBiquadStage::dropUnusableMemory() noexcept
{
    if (!std::isfinite(memory.w + memory.d))
        memory = {};
    if (!std::isfinite(oldMemory.w + oldMemory.d))
        oldMemory = {};
}

void CBiquadStage::processFade(const double* in, double* out, int count) noexcept
{
    CCoefficientFade f = walk.fade;
    const CBiquadStep old = oldStep;
    const CBiquadStep from = fromStep;
    const CBiquadStep to = toStep;
    const double signOld = oldSide;
    const double sign = side;
    double oldW = oldMemory.w;
    double oldD = oldMemory.d;
    double w = memory.w;
    double d = memory.d;
    for (int i = 0; i < count; ++i)
    {
        const double x = in[i];
        const double A = 0.5 + f.s;
        const double B = 0.5 - f.s;
        CBiquadStep c;
        c.nextW = B * to.nextW + A * from.nextW;
        c.nextD = B * to.nextD + A * from.nextD;
        c.b0 = B * to.b0 + A * from.b0;
        c.outW = B * to.outW + A * from.outW;
        c.outD = B * to.outD + A * from.outD;
        out[i] = A * stepSample(old, signOld, oldW, oldD, x) + B * stepSample(c, sign, w, d, x);
        f.step();
    }
    oldMemory = {oldW, oldD};
    memory = {w, d};
    f.remaining -= count;
    walk.fade = f;
}

namespace
{

bool read(CBiquadCoefficients& c, std::span<const double> row) noexcept
{
    if (row.size() != 5)
        return false;
    c = {row[0], row[1], row[2], row[3], row[4]};
    return true;
}

}

CAudioFilterStageKind biquadStageKind(int id) noexcept
{
    static_assert(alignof(CBiquadStage) <= CAudioFilterStageKind::stateAlignment);
    CAudioFilterStageKind kind{};
    kind.id = id;
    kind.stateSize = sizeof(CBiquadStage);
    kind.init = [](void* state, std::span<const double> coefficients, double sampleRate) noexcept
    {
        CBiquadCoefficients c;
        if (read(c, coefficients))
            new (state) CBiquadStage(c, sampleRate);
    };
    kind.update = [](void* state, std::span<const double> coefficients) noexcept
    {
        CBiquadCoefficients c;
        if (read(c, coefficients))
            static_cast<CBiquadStage*>(state)->update(c);
    };
    kind.updateToIdentity = [](void* state) noexcept { static_cast<CBiquadStage*>(state)->update({}); };
    kind.process = [](void* state, const double* in, double* out, int count) noexcept
    { static_cast<CBiquadStage*>(state)->process(in, out, count); };
    return kind;
}

}
