// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/Signals.h"

#include "Support/ReferenceCases.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

namespace kor::test
{

CSignal noise(std::size_t count, unsigned seed)
{
    return referenceSignal({{"type", "lcg"}, {"seed", seed}, {"segments", {{count, 1.0, 0.0}}}});
}

CSignal sine(std::size_t count, double frequencyHz, double rateHz, double level)
{
    CSignal signal(count);
    for (std::size_t i = 0; i < count; ++i)
        signal[i] = level * std::sin(2.0 * std::numbers::pi * frequencyHz * static_cast<double>(i) / rateHz);
    return signal;
}

CSignal constant(std::size_t count, double value)
{
    return CSignal(count, value);
}

CSignal impulse(std::size_t count, std::size_t at)
{
    CSignal signal(count, 0.0);
    signal[at] = 1.0;
    return signal;
}

CSignals levels(const CSignal& values, std::size_t count)
{
    CSignals signals;
    for (const double value : values)
        signals.push_back(constant(count, value));
    return signals;
}

CSignal operator*(double factor, CSignal signal)
{
    for (double& x : signal)
        x *= factor;
    return signal;
}

CSignal operator+(CSignal a, const CSignal& b)
{
    std::ranges::transform(a, b, a.begin(), std::plus<>());
    return a;
}

CSignal joined(CSignal a, const CSignal& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

CSignal part(const CSignal& signal, std::size_t from, std::size_t end)
{
    const auto at = [&](std::size_t i)
    { return signal.begin() + static_cast<std::ptrdiff_t>(std::min(i, signal.size())); };
    return {at(from), at(end)};
}

CSignals part(const CSignals& signals, std::size_t from, std::size_t end)
{
    CSignals parts;
    for (const CSignal& signal : signals)
        parts.push_back(part(signal, from, end));
    return parts;
}

double difference(const CSignal& a, const CSignal& b, std::size_t from)
{
    double largest = a.size() == b.size() ? 0.0 : INFINITY;
    for (std::size_t i = from; i < std::min(a.size(), b.size()); ++i)
        largest = std::max(largest, std::isfinite(a[i] - b[i]) ? std::abs(a[i] - b[i]) : INFINITY);
    return largest;
}

double largestValue(const CSignal& signal)
{
    return difference(signal, CSignal(signal.size(), 0.0));
}

double largestStep(const CSignal& signal, std::size_t from)
{
    double largest = 0.0;
    for (std::size_t i = std::max<std::size_t>(from, 1); i < signal.size(); ++i)
        largest = std::max(largest, std::abs(signal[i] - signal[i - 1]));
    return largest;
}

}
