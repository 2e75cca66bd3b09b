// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <vector>

namespace kor::test
{

using CSignal = std::vector<double>;
using CSignals = std::vector<CSignal>; // by channel

/// Generated noise in -1..1; equal seeds give equal samples.
CSignal noise(std::size_t count, unsigned seed = 1);
CSignal sine(std::size_t count, double frequencyHz, double rateHz, double level = 1.0);
CSignal constant(std::size_t count, double value);
CSignal impulse(std::size_t count, std::size_t at = 0);

/// One value per channel.
CSignals levels(const CSignal& values, std::size_t count = 8);
CSignal operator*(double factor, CSignal signal);
CSignal operator+(CSignal a, const CSignal& b);

/// The first signal with the second behind it.
CSignal joined(CSignal a, const CSignal& b);

/// Samples `from` to `end` - 1 of a signal; an end beyond it is the signal's own.
CSignal part(const CSignal& signal, std::size_t from, std::size_t end = static_cast<std::size_t>(-1));
CSignals part(const CSignals& signals, std::size_t from, std::size_t end = static_cast<std::size_t>(-1));

/// The largest difference of two signals of one length from sample `from` on; infinite if a sample is not finite.
double difference(const CSignal& a, const CSignal& b, std::size_t from = 0);
double largestValue(const CSignal& signal);

/// The largest difference between neighbours from sample `from` on.
double largestStep(const CSignal& signal, std::size_t from = 0);

}
