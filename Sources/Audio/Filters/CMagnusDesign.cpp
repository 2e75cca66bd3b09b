// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CMagnusDesign.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kor
{

namespace
{

constexpr double pi = std::numbers::pi;

double square(double x)
{
    return x * x;
}

double lowerEdge(double bandwidth)
{
    return std::exp2(-0.5 * bandwidth);
}

// Numbers of the fits matched at the warped lower edge: frequencies in radians per sample.
struct CFitA
{
    double tan2 = 0.0;          // tan^2 of half the centre
    double warp = 0.0;          // tan2 over that of the warped edge
    double r = 0.0;             // q pi^2 / (pi^2 - c^2)^2

    CFitA(double frequency, double bandwidth) noexcept
    {
        // Single-precision limits, as the designs were tuned with.
        const double c = 2.0 * pi * std::min(0.49000000953674316, frequency);
        const double e = 2.0 * pi * std::min(0.47999998927116394, lowerEdge(bandwidth) * frequency);
        tan2 = square(std::tan(0.5 * c));
        warp = tan2 / square(std::tan(c * c / (2.0 * pi)));
        r = square((e * e - c * c) / e * pi / (pi * pi - c * c));
    }
};

// Numbers of the fits matched at a quarter of the rate: frequencies in units of half the rate, u = 1/2.
struct CFitB
{
    double tan2 = 0.0;
    double q = 0.0;
    double quarter = 0.0;       // (u (1 - tan2) / (u^2 - c^2))^2
    double top = 0.0;           // 1 / (1 - c^2)^2

    CFitB(double frequency, double bandwidth) noexcept
    {
        double c = std::min(0.99, 2.0 * frequency);
        double e = std::min(0.98, 2.0 * lowerEdge(bandwidth) * frequency);
        // The fit has no solution where the centre meets the quarter. It is moved away, and once more where that
        // brings it there: at 0.252525 of the rate.
        if (std::abs(c - 0.5) < 0.01)
        {
            c *= 0.99;
            e *= 0.99;
        }
        if (std::abs(c - 0.5) < 1e-6)
        {
            c *= 0.99;
            e *= 0.99;
        }
        tan2 = square(std::tan(0.5 * pi * c));
        q = square((e * e - c * c) / e);
        // 1 - tan2 = cos(pi c) / cos^2(pi c / 2), and cos(pi c) = sin(pi (u - c))
        const double oneLessTan2 = std::sin(pi * (0.5 - c)) * (1.0 + tan2);
        quarter = square(0.5 * oneLessTan2 / ((0.5 - c) * (0.5 + c)));
        top = 1.0 / square(1.0 - c * c);
    }
};

// Section of S. J. Orfanidis, "Digital parametric equalizer design with prescribed Nyquist-frequency gain". Gains
// linear at DC, centre and band edges; centre and bandwidth in cycles per sample.
CBiquadDesign parametric(double G0, double Gp, double GB, double centre, double bandwidth) noexcept
{
    const double w0 = 2.0 * pi * centre;
    const double dw = 2.0 * pi * bandwidth;
    const double F = std::abs(Gp * Gp - GB * GB);
    const double G00 = std::abs(Gp * Gp - G0 * G0);
    const double F00 = std::abs(GB * GB - G0 * G0);
    const double distance = square(w0 * w0 - pi * pi);
    const double spread = pi * pi * F00 * dw * dw;
    const double G1 = std::sqrt((G0 * G0 * distance * F + Gp * Gp * spread) / (distance * F + spread));

    const double G11 = std::abs(Gp * Gp - G1 * G1);
    const double F11 = std::abs(GB * GB - G1 * G1);
    const double G01 = std::abs(Gp * Gp - G0 * G1);
    const double F01 = std::abs(GB * GB - G0 * G1);
    const double W2 = std::sqrt(G11 / G00) * square(std::tan(0.5 * w0));
    const double Dw = (1.0 + std::sqrt(F00 / F11) * W2) * std::tan(0.5 * dw);
    const double C = F11 * Dw * Dw - 2.0 * W2 * (F01 - std::sqrt(F00 * F11));
    const double D = 2.0 * W2 * (G01 - std::sqrt(G00 * G11));
    const double A = std::sqrt((C + D) / F);
    const double B = std::sqrt((Gp * Gp * C + GB * GB * D) / F);
    return {G1 + G0 * W2 + B, -2.0 * (G1 - G0 * W2), G1 - B + G0 * W2, 1.0 + W2 + A, -2.0 * (1.0 - W2), 1.0 + W2 - A};
}

}

CBiquadDesign magnusPeakA(double frequency, double bandwidth, double gain) noexcept
{
    const CFitA fit(frequency, bandwidth);
    const double m = fit.r / (gain + fit.r);
    const double top = (1.0 + gain * fit.r) / (1.0 + fit.r / gain);        // squared gain at half the rate
    const double Q = std::sqrt(gain / (gain + fit.r));
    const double R = std::sqrt(top);
    const double W = fit.tan2 * Q;
    const double V = std::sqrt(fit.tan2 * m * (fit.warp - 2.0 / (1.0 + Q)));
    const double rise = (gain * gain - 1.0) * Q * R / (1.0 + R) + top / (1.0 + Q);
    const double S = std::sqrt(fit.tan2 * m * (gain * gain * fit.warp - 2.0 * rise));
    return {R + S + W, 2.0 * (W - R), R - S + W, 1.0 + V + W, 2.0 * (W - 1.0), 1.0 - V + W};
}

CBiquadDesign magnusBandPassA(double frequency, double bandwidth, double gain) noexcept
{
    const CFitA fit(frequency, bandwidth);
    const double top = fit.r / (1.0 + fit.r);
    const double Q = 1.0 / std::sqrt(1.0 + fit.r);
    const double R = std::sqrt(top);
    const double W = fit.tan2 * Q;
    const double V = std::sqrt(fit.tan2 * top * (fit.warp - 2.0 / (1.0 + Q)));
    const double S = std::sqrt(fit.tan2 * top * (fit.warp - 2.0));
    return {gain * (R + S), -2.0 * gain * R, gain * (R - S), 1.0 + V + W, 2.0 * (W - 1.0), 1.0 - V + W};
}

CBiquadDesign magnusPeakB(double frequency, double bandwidth, double gain) noexcept
{
    const CFitB fit(frequency, bandwidth);
    const double r = fit.q * fit.top;
    const double K = std::sqrt(1.0 + r / gain);
    const double L = std::sqrt(1.0 + r * gain);     // K times the gain at half the rate
    const double T = fit.tan2;
    const double N = std::sqrt(fit.q / gain * (fit.quarter - fit.top * (1.0 + K - 2.0 * T) / (1.0 + K)));
    const double M = std::sqrt(fit.q * gain * (fit.quarter - fit.top * (1.0 + L - 2.0 * T) / (1.0 + L)));
    return {T + L + M, 2.0 * (T - L), T + L - M, T + K + N, 2.0 * (T - K), T + K - N};
}

CBiquadDesign magnusBandPassB(double frequency, double bandwidth) noexcept
{
    const CFitB fit(frequency, bandwidth);
    const double r = fit.q * fit.top;
    const double K = std::sqrt(1.0 + r);
    const double L = std::sqrt(r);
    const double T = fit.tan2;
    const double N = std::sqrt(fit.q * (fit.quarter - fit.top * (1.0 + K - 2.0 * T) / (1.0 + K)));
    const double M = std::sqrt(fit.q * (fit.quarter - fit.top));
    return {L + M, -2.0 * L, L - M, T + K + N, 2.0 * (T - K), T + K - N};
}

CBiquadDesign magnusPeakNyquist(double frequency, double bandwidth, double gain) noexcept
{
    const double edge = lowerEdge(bandwidth);
    return parametric(1.0, gain, std::sqrt(gain), frequency, frequency * (1.0 / edge - edge));
}

CBiquadDesign magnusBandPassNyquist(double frequency, double bandwidth) noexcept
{
    const double edge = lowerEdge(bandwidth);
    const double centre = std::min(0.5, frequency);
    return parametric(0.0, 1.0, 0.7071067811865476, centre, std::min(0.5, centre / edge) - edge * centre);
}

}
