// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Converters/ConverterNumbers.h"

#include <algorithm>
#include <cmath>

namespace kor
{

namespace
{
constexpr double powersOfTen[maxDecimals + 1] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
}

CStringBuf decimalText(double value, int decimals)
{
    if (std::isnan(value))
        return "nan";
    if (std::isinf(value))
        return value < 0 ? "-inf" : "inf";

    decimals = std::clamp(decimals, 0, maxDecimals);
    const double scaled = std::round(std::abs(value) * powersOfTen[decimals]);
    if (scaled >= 1e18)                             // beyond the integers; such a number has no fraction to show
        return CStringBuf::fromDouble(value);
    const CStringBuf digits = CStringBuf::fromInt(static_cast<long long>(scaled), decimals + 1);

    CStringBuf out;
    if (value < 0 && scaled > 0)
        out.append('-');
    out.append(digits.substr(0, digits.length() - decimals));
    if (decimals > 0)
    {
        out.append('.');
        out.append(digits.substr(digits.length() - decimals));
    }
    return out;
}

bool roundsBelow(double value, int decimals, double bound) noexcept
{
    const double scale = powersOfTen[std::clamp(decimals, 0, maxDecimals)];
    return std::round(std::abs(value) * scale) < bound * scale;
}

double squareToReal(double min, double max, double x) noexcept
{
    return min + (max - min) * (x * x);
}

double squareToNormalised(double min, double max, double value) noexcept
{
    return std::sqrt(std::abs((value - min) / (max - min)));
}

}
