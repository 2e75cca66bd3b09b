// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CBiquadStateSpace.h"

#include "Audio/Filters/CBiquadKernel.h"

#include <cmath>

namespace kor
{

namespace
{

using Real = long double;

// The exact sample step; see CBiquadStep.
struct CExactStep
{
    Real nextW, nextD, outW, outD;

    CExactStep(const CBiquadCoefficients& c, Real side) noexcept
    {
        if (side == 0.0L)
        {
            nextW = -Real(c.a1);
            nextD = -Real(c.a2);
            outW = c.b1;
            outD = c.b2;
            return;
        }
        // Denominator and numerator at z = side, which are small there.
        nextW = -side * (1.0L + side * c.a1 + c.a2);
        nextD = side * c.a2;
        outW = side * (c.b0 + side * c.b1 + c.b2);
        outD = -side * c.b2;
    }
};

}

double biquadSide(const CBiquadCoefficients& c) noexcept
{
    // For a pair of poles at an angle on the circle the quotient is the cosine of the angle.
    if (std::abs(c.a1) <= 0.8 * (1.0 + c.a2))
        return 0.0;
    return c.a1 > 0.0 ? -1.0 : 1.0;
}

CBiquadStep biquadStep(const CBiquadCoefficients& c, double side) noexcept
{
    const CExactStep exact(c, side);
    CBiquadStep step;
    step.nextW = static_cast<double>(exact.nextW);
    step.nextD = static_cast<double>(exact.nextD);
    step.b0 = c.b0;
    step.outW = static_cast<double>(exact.outW);
    step.outD = static_cast<double>(exact.outD);
    return step;
}

CBiquadMemory biquadMemoryFor(const CBiquadMemory& memory, double side, double newSide) noexcept
{
    if (side == newSide)
        return memory;
    const double older = side == 0.0 ? memory.d : side * (memory.w - memory.d);
    return {memory.w, newSide == 0.0 ? older : memory.w - newSide * older};
}

void CBiquadBlock::design(const CBiquadCoefficients& c) noexcept
{
    side = biquadSide(c);
    const Real s = side;
    const CExactStep exact(c, s);
    const bool isPlain = side == 0.0;
    sample = biquadStep(c, side);
    nextWLow = static_cast<double>(exact.nextW - sample.nextW);

    // Rows from memory to output i, and with them the impulse response.
    Real p = exact.outW + c.b0 * exact.nextW;
    Real q = exact.outD + c.b0 * exact.nextD;
    double impulse[length] = {c.b0};
    for (int i = 0; i < length; ++i)
    {
        fromW[i] = static_cast<double>(p);
        fromD[i] = static_cast<double>(q);
        const Real sum = isPlain ? p : p + q;
        if (i + 1 < length)
            impulse[i + 1] = static_cast<double>(sum);
        p = exact.nextW * sum + (isPlain ? q : s * p);
        q = exact.nextD * sum;
    }
    for (int j = 0; j < length; ++j)
        for (int i = 0; i < length; ++i)
            response[j][i] = i < j ? 0.0 : impulse[i - j];

    Real w = 1.0L;
    Real d = isPlain ? 0.0L : 1.0L;
    for (int j = length - 1; j >= 0; --j)
    {
        toMemory[0][j] = static_cast<double>(w);
        toMemory[1][j] = static_cast<double>(d);
        const Real next = exact.nextW * w + exact.nextD * d;
        d = isPlain ? w : next;
        w = s * w + next;
    }

    // With I + e the step of one sample, or its negative where poles turn by half a circle:
    // (I + e)^2 = I + (2 e + e e), three times, for eight samples. The identity never mixes with what is small beside
    // it.
    static_assert(length == 8);
    const Real sign = side < 0.0 ? -1.0L : 1.0L;
    Real e[2][2] = {{sign * exact.nextW, sign * exact.nextW}, {sign * exact.nextD, sign * exact.nextD - 1.0L}};
    if (isPlain)
    {
        e[0][0] -= 1.0L;
        e[0][1] = 1.0L;
        e[1][1] = -1.0L;
    }
    for (int doubling = 0; doubling < 3; ++doubling)
    {
        Real square[2][2];
        for (int from = 0; from < 2; ++from)
            for (int to = 0; to < 2; ++to)
                square[from][to] = e[from][0] * e[0][to] + e[from][1] * e[1][to];
        for (int from = 0; from < 2; ++from)
            for (int to = 0; to < 2; ++to)
                e[from][to] = 2.0L * e[from][to] + square[from][to];
    }
    for (int from = 0; from < 2; ++from)
        for (int to = 0; to < 2; ++to)
        {
            step[from][to] = static_cast<double>(e[from][to]);
            stepLow[from][to] = static_cast<double>(e[from][to] - step[from][to]);
        }
}

void processBiquad(const CBiquadBlock& block, CBiquadMemory& memory, const double* in, double* out,
                   int count) noexcept
{
    const int whole = count / CBiquadBlock::length * CBiquadBlock::length;
    if (whole > 0)
        biquadKernel().process(block, memory, in, out, whole);
    processBiquadSamples(block, memory, in + whole, out + whole, count - whole);
}

void processBiquadSamples(const CBiquadBlock& block, CBiquadMemory& memory, const double* in, double* out,
                          int count) noexcept
{
    const CBiquadStep c = block.sample;
    double w = memory.w;
    double d = memory.d;
    if (block.side == 0.0)
    {
        for (int i = 0; i < count; ++i)
        {
            const double next = in[i] + c.nextW * w + c.nextD * d;
            out[i] = c.b0 * next + c.outW * w + c.outD * d;
            d = w;
            w = next;
        }
    }
    else
    {
        const double side = block.side;
        const double nextWLow = block.nextWLow;
        const double fromW = block.fromW[0];
        const double fromD = block.fromD[0];
        for (int i = 0; i < count; ++i)
        {
            const double x = in[i];
            out[i] = c.b0 * x + (fromW * w + fromD * d);
            d = (x + nextWLow * w) + (c.nextW * w + c.nextD * d);
            w = side * w + d;
        }
    }
    memory.w = w;
    memory.d = d;
}

}
