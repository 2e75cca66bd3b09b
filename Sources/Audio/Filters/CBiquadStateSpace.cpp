// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CBiquadStateSpace.h"

#include "Audio/Filters/CBiquadKernel.h"

namespace kor
{

double biquadSide(const CBiquadCoefficients& c) noexcept
{
    return c.a1 > 0.0 ? -1.0 : 1.0;
}

CBiquadStep biquadStep(const CBiquadCoefficients& c, double side) noexcept
{
    const long double s = side;
    CBiquadStep step;
    step.pole = static_cast<double>(1.0L + s * c.a1 + c.a2);
    step.zero = static_cast<double>(c.b0 + s * c.b1 + c.b2);
    step.b0 = c.b0;
    step.b2 = c.b2;
    step.a2 = c.a2;
    return step;
}

CBiquadMemory biquadMemoryFor(const CBiquadMemory& memory, double side, double newSide) noexcept
{
    if (side == newSide)
        return memory;
    return {memory.w, 2.0 * memory.w - memory.d};       // newSide is -side
}

void CBiquadBlock::design(const CBiquadCoefficients& c) noexcept
{
    const long double s = biquadSide(c);
    const long double b0 = c.b0;
    const long double a2 = c.a2;
    const long double a2Less1 = a2 - 1.0L;
    const long double pole = 1.0L + s * c.a1 + a2;
    const long double zero = b0 + s * c.b1 + c.b2;

    side = static_cast<double>(s);
    direct = c.b0;
    poleW = static_cast<double>(-s * pole);
    poleWLow = static_cast<double>(-s * pole - poleW);
    poleD = static_cast<double>(s * a2);

    // Rows from memory to output i, and with them the impulse response.
    long double p = s * (zero - b0 * pole);
    long double q = s * (a2 * b0 - c.b2);
    double impulse[length] = {c.b0};
    for (int i = 0; i < length; ++i)
    {
        fromW[i] = static_cast<double>(p);
        fromD[i] = static_cast<double>(q);
        const long double sum = p + q;
        if (i + 1 < length)
            impulse[i + 1] = static_cast<double>(sum);
        p = s * (p - pole * sum);
        q = s * a2 * sum;
    }
    for (int j = 0; j < length; ++j)
        for (int i = 0; i < length; ++i)
            response[j][i] = i < j ? 0.0 : impulse[i - j];

    long double w = 1.0L;
    long double d = 1.0L;
    for (int j = length - 1; j >= 0; --j)
    {
        toMemory[0][j] = static_cast<double>(w);
        toMemory[1][j] = static_cast<double>(d);
        const long double nextD = s * (d + (a2Less1 * d - pole * w));
        w = s * w + nextD;
        d = nextD;
    }

    // With I + e the step of one sample, or its negative: (I + e)^2 = I + (2 e + e e), three times. The identity never
    // mixes with what is small beside it.
    static_assert(length == 8);
    long double e[2][2] = {{-pole, -pole}, {a2, a2Less1}};      // [from][to]
    for (int doubling = 0; doubling < 3; ++doubling)
    {
        long double square[2][2];
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
    const double direct = block.direct;
    const double fromW = block.fromW[0];
    const double fromD = block.fromD[0];
    const double poleW = block.poleW;
    const double poleWLow = block.poleWLow;
    const double poleD = block.poleD;
    const double side = block.side;
    double w = memory.w;
    double d = memory.d;
    for (int i = 0; i < count; ++i)
    {
        const double x = in[i];
        out[i] = direct * x + (fromW * w + fromD * d);
        d = (x + poleWLow * w) + (poleW * w + poleD * d);
        w = side * w + d;
    }
    memory.w = w;
    memory.d = d;
}

}
