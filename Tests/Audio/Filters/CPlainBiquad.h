// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CBiquadStateSpace.h"

#include <cmath>
#include <numbers>

namespace kor::test
{

// The biquad with its coefficient crossfade as it is defined, one sample at a time in direct form II, in the number
// type of choice: what the fast one is measured against.
template <class Real>
class CPlainBiquad
{
public:
    CPlainBiquad(const CBiquadCoefficients& c, double sampleRate)
        : length(static_cast<int>(std::lround(0.025 * sampleRate))), old(c), target(c)
    {
    }

    void update(const CBiquadCoefficients& c)
    {
        if (remaining == 0)
            return start(c);
        pending = c;
        hasPending = true;
    }

    Real process(double x)
    {
        if (remaining == 0)
            return run(old, w, x);
        const Real A = 0.5L + 0.5L * std::cos(std::numbers::pi_v<long double> * (length - remaining) / length);
        const Real B = 1 - A;
        CRow moving;
        for (int i = 0; i < 5; ++i)
            moving.c[i] = B * target.c[i] + A * old.c[i];
        const Real y = A * run(old, v, x) + B * run(moving, w, x);
        if (--remaining == 0)
        {
            old = target;
            if (hasPending)
                start(pending);
            hasPending = false;
        }
        return y;
    }

private:
    struct CRow
    {
        Real c[5];                      // b0, b1, b2, -a1, -a2
        CRow() = default;
        CRow(const CBiquadCoefficients& k) : c{k.b0, k.b1, k.b2, -k.a1, -k.a2} {}
    };

    void start(const CBiquadCoefficients& c)
    {
        target = c;
        v[0] = w[0];
        v[1] = w[1];
        remaining = length;
    }

    static Real run(const CRow& row, Real* state, double x)
    {
        const Real next = x + row.c[3] * state[0] + row.c[4] * state[1];
        const Real y = row.c[0] * next + row.c[1] * state[0] + row.c[2] * state[1];
        state[1] = state[0];
        state[0] = next;
        return y;
    }

    int length;
    int remaining = 0;
    CRow old;
    CRow target;
    CBiquadCoefficients pending;
    bool hasPending = false;
    Real w[2] = {};
    Real v[2] = {};
};

}
