// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CFirDesign.h"

#include "Audio/Filters/CAlignedBuffer.h"
#include "Audio/Filters/CFftPool.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>
#include <utility>

namespace kor
{

namespace
{

// exp(i step index) by one multiplication per index. The error grows with the index as the taps fall, so that it stays
// at the rounding of the centre tap.
class CRotation
{
public:
    explicit CRotation(double angle) noexcept : step(std::cos(angle)), stepSin(std::sin(angle)) {}

    void advance() noexcept
    {
        const double next = cosine * step - sine * stepSin;
        sine = sine * step + cosine * stepSin;
        cosine = next;
    }

    double cosine = 1.0, sine = 0.0;

private:
    double step, stepSin;
};

// Convolves `taps` with itself `times` times, each time doubling: the spectrum to the power 2^times.
bool convolveWithItself(CArray<double>& taps, int times)
{
    const std::size_t length = taps.size() << times;
    const std::size_t size = std::bit_ceil(length);
    CFftPool& pool = CFftPool::instance();
    CFftObject* const fft = pool.take(std::countr_zero(size));
    CAlignedBuffer block;
    if (!fft || !block.allocate(size))
    {
        pool.give(fft);
        return false;
    }
    double* const values = block.data();
    std::copy(taps.begin(), taps.end(), values);
    fft->forward(values, values);
    for (int i = 0; i < times; ++i)
        realFft().squarePacked(values, values, fft->size);
    fft->inverse(values, values);
    taps.resize(length);
    for (std::size_t i = 0; i < length; ++i)
        taps[i] = values[i] * fft->scale;
    pool.give(fft);
    return true;
}

}

bool designFirLowPass(const CFirLowPassSettings& settings, CFirDesign& design)
{
    const double rate = settings.sampleRateHz, frequency = settings.frequencyHz;
    const double span = 0.125 * rate * rate * settings.lengthSeconds / frequency;   // half the window, samples
    // Written so that a value that is not a number fails as well.
    if (!(rate > 0.0 && frequency > 0.0 && settings.power < 31.0 && span > 0.0 && span < CFirDesign::maxTaps / 2))
        return false;
    const int times = settings.power > 0.0 ? static_cast<int>(std::nearbyint(settings.power)) : 0;
    const std::size_t half = static_cast<std::size_t>(span);
    if (2 * half + 1 > std::size_t(CFirDesign::maxTaps) >> times)
        return false;

    constexpr double pi = std::numbers::pi;
    const double cutoff = 2.0 * pi * frequency / rate;
    CArray<double> taps(2 * half + 1);
    CRotation window(pi / span), wave(cutoff);
    taps[half] = cutoff / pi;
    for (std::size_t i = 1; i <= half; ++i)
    {
        window.advance();
        wave.advance();
        const double c = window.cosine;
        const double blackman = 0.42 + 0.5 * c + 0.08 * (2.0 * c * c - 1.0);
        taps[half + i] = taps[half - i] = blackman * wave.sine / (pi * static_cast<double>(i));
    }
    if (times > 0 && !convolveWithItself(taps, times))
        return false;
    design.taps = std::move(taps);
    design.latency = static_cast<int>(half << times);
    return true;
}

}
