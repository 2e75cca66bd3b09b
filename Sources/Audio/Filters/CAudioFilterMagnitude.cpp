// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CAudioFilterMagnitude.h"

#include <cmath>
#include <complex>
#include <numbers>

namespace kor
{

namespace
{

using Real = long double;

// |c0 z + c1 + c2 / z| at z = exp(j w): the real part is taken as the value at the nearer end of the circle and the
// distance from it, which is what keeps the digits there.
Real quadraticMagnitude(Real c0, Real c1, Real c2, Real w)
{
    const Real sn = std::sin(w / 2.0L);
    const Real cs = std::cos(w / 2.0L);
    const Real sum = c0 + c2;
    const Real real = sn < cs ? (c1 + sum) - 2.0L * sum * sn * sn : (c1 - sum) + 2.0L * sum * cs * cs;
    return std::hypot(real, 2.0L * (c0 - c2) * sn * cs);
}

std::complex<Real> allPassChain(const CArray<double>& coefficients, std::complex<Real> z2)
{
    std::complex<Real> product = 1.0L;
    for (const double c : coefficients)
        product *= (Real(c) + z2) / (1.0L + Real(c) * z2);
    return product;
}

}

double stageMagnitude(const CAudioFilterStage& stage, double frequencyHz, double sampleRate) noexcept
{
    const CArray<double>& b = stage.numerator;
    const CArray<double>& a = stage.denominator;
    const Real w = 2.0L * std::numbers::pi_v<Real> * frequencyHz / sampleRate;
    if (b.size() == 3 && a.size() == 2)
        return static_cast<double>(quadraticMagnitude(b[0], b[1], b[2], w) / quadraticMagnitude(1.0L, a[0], a[1], w));
    if (b.size() == 2 && a.size() == 1)
        return static_cast<double>(quadraticMagnitude(b[0], b[1], 0.0L, w) / quadraticMagnitude(1.0L, a[0], 0.0L, w));
    if (a.empty())
    {
        std::complex<Real> sum = 0.0L;
        for (std::size_t i = 0; i < b.size(); ++i)
            sum += Real(b[i]) * std::polar(1.0L, -w * static_cast<Real>(i));
        return static_cast<double>(std::abs(sum));
    }
    const std::complex<Real> z2 = std::polar(1.0L, -2.0L * w);
    const std::complex<Real> second = std::polar(1.0L, -w) * allPassChain(a, z2);
    return static_cast<double>(0.5L * std::abs(allPassChain(b, z2) + second));
}

double filterMagnitudeDb(const CAudioFilterSpec& spec, double frequencyHz, double sampleRate) noexcept
{
    double db = 0.0;
    for (const CAudioFilterStage& stage : spec.stages())
        db += 20.0 * std::log10(stageMagnitude(stage, frequencyHz, sampleRate));
    return db;
}

}
