// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CSpectrumAnalyser.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <numbers>

namespace kor
{

namespace
{

constexpr std::size_t largestBlock = std::size_t{1} << CSpectrumAnalyser::largestOrder;
constexpr std::size_t alignmentDoubles = CRealFft::bufferAlignment / sizeof(double);
constexpr std::size_t binRoom = largestBlock / 2 + alignmentDoubles;

}

void CSpectrumAnalyser::CRelease::operator()(double* p) const noexcept
{
    ::operator delete(p, std::align_val_t{CRealFft::bufferAlignment});
}

CSpectrumAnalyser::~CSpectrumAnalyser()
{
    CFftPool::instance().give(fft);
}

void CSpectrumAnalyser::prepare(double rateHz, double framesPerSecond)
{
    sampleRate = rateHz;
    postInterval = 1.0 / framesPerSecond;
    // Not cleared: what no block reaches need not exist.
    constexpr std::size_t size = 2 * largestBlock + 3 * binRoom;
    memory.reset(static_cast<double*>(
        ::operator new(size * sizeof(double), std::align_val_t{CRealFft::bufferAlignment}, std::nothrow)));
    ring = memory.get();
    frame = ring + largestBlock;
    magnitudes = frame + largestBlock;
    primary.values = magnitudes + binRoom;
    second.values = primary.values + binRoom;
    isNew = true;
}

void CSpectrumAnalyser::update(const CSpectrumSettings& next, bool mustReset, double now) noexcept
{
    const CSpectrumSettings last = settings;
    settings = next;
    mustReset = mustReset || isNew || next.blockSize != last.blockSize || next.type != last.type ||
                next.hasSecond != last.hasSecond || (next.hasSecond && next.secondType != last.secondType);
    isNew = false;
    if (mustReset || next.overlap != last.overlap || next.averageTime != last.averageTime)
    {
        blockSamples = 1 << (next.blockSize + smallestOrder);
        hop = std::max(static_cast<int>(std::nearbyint(blockSamples * (1.0 - next.overlap))), 1);
        const double frames = sampleRate / hop * next.averageTime;
        smoothK = 1.0 - std::pow(0.1, 1.0 / frames);
    }
    if (mustReset)
        reset(now);
    time = now;
}

void CSpectrumAnalyser::reset(double now) noexcept
{
    takeFft();
    prepareWindow();
    ringPos = 0;
    primary.count = second.count = 0;
    if (memory != nullptr)
    {
        std::fill_n(ring, blockSamples, 0.0);
        std::fill_n(primary.values, binCount(), 0.0);
        if (settings.hasSecond)
            std::fill_n(second.values, binCount(), 0.0);
    }
    time = resetTime = lastPost = now;
    hopRemaining = hop;
}

void CSpectrumAnalyser::takeFft() noexcept
{
    const int order = settings.blockSize + smallestOrder;
    if (fft != nullptr && fft->order == order)
        return;
    CFftPool::instance().give(fft);
    fft = CFftPool::instance().take(order);
}

void CSpectrumAnalyser::prepareWindow() noexcept
{
    windowScale = 2.0 * std::numbers::sqrt2 / blockSamples;
    const double angle = 2.0 * std::numbers::pi / blockSamples;
    windowStep = 2.0 * std::cos(lanes * angle);
    for (int i = 0; i < lanes; ++i)
    {
        windowFirst[i] = -0.5 * windowScale * std::cos(i * angle);
        windowBefore[i] = -0.5 * windowScale * std::cos((i - lanes) * angle);
    }
}

// The second half of the window is the first with the cosine turned over; starting it afresh keeps the error small.
void CSpectrumAnalyser::applyWindow() noexcept
{
    const double offset = 0.5 * windowScale;
    const double step = windowStep;
    const int half = blockSamples / 2;
    double* samples = frame;
    for (const double sign : {1.0, -1.0})
    {
        double now[lanes];
        double before[lanes];
        for (int i = 0; i < lanes; ++i)
        {
            now[i] = sign * windowFirst[i];
            before[i] = sign * windowBefore[i];
        }
        for (int n = 0; n < half; n += lanes)
        {
            for (int i = 0; i < lanes; ++i)
            {
                samples[n + i] *= offset + now[i];
                const double following = step * now[i] - before[i];
                before[i] = now[i];
                now[i] = following;
            }
        }
        samples += half;
    }
}

void CSpectrumAnalyser::analyse() noexcept
{
    const int oldest = blockSamples - ringPos;
    std::copy_n(ring + ringPos, oldest, frame);
    std::copy_n(ring, ringPos, frame + oldest);
    applyWindow();
    fft->forward(frame, frame);

    const int half = blockSamples / 2;
    magnitudes[0] = std::abs(frame[0]);
    magnitudes[half] = std::abs(frame[1]);
    for (int k = 1; k < half; ++k)
        magnitudes[k] = std::sqrt(frame[2 * k] * frame[2 * k] + frame[2 * k + 1] * frame[2 * k + 1]);

    // A sample that was no number must not stay in what is gathered.
    double sum = 0.0;
    for (int k = 0; k <= half; ++k)
        sum += magnitudes[k];
    if (!std::isfinite(sum))
        return;
    gather(primary, settings.type);
    if (settings.hasSecond)
        gather(second, settings.secondType);
}

void CSpectrumAnalyser::gather(CGathered& into, CSpectrumType how) noexcept
{
    const int bins = binCount();
    const double* m = magnitudes;
    double* s = into.values;
    const double k = smoothK;
    switch (how)
    {
    case CSpectrumType::runningAverage:
        for (int i = 0; i < bins; ++i)
            s[i] += (m[i] - s[i]) * k;
        break;
    case CSpectrumType::max:
        for (int i = 0; i < bins; ++i)
            s[i] = std::max(s[i], m[i]);
        break;
    case CSpectrumType::average:
        for (int i = 0; i < bins; ++i)
            s[i] += m[i];
        ++into.count;
        break;
    case CSpectrumType::runningMax:
        for (int i = 0; i < bins; ++i)
        {
            const double fallen = s[i] + (m[i] - s[i]) * k;
            s[i] = m[i] > s[i] ? m[i] : fallen;
        }
        break;
    }
}

bool CSpectrumAnalyser::process(const double* samples, int count) noexcept
{
    time += count / sampleRate;
    hopRemaining -= count;
    if (memory != nullptr)
    {
        const int first = std::min(count, blockSamples - ringPos);
        std::copy_n(samples, first, ring + ringPos);
        std::copy_n(samples + first, count - first, ring);
        ringPos = (ringPos + count) & (blockSamples - 1);
    }
    if (hopRemaining > 0)
        return false;
    hopRemaining = hop;
    if (!canAnalyse())
        return false;
    analyse();
    if (time - lastPost < postInterval)
        return false;
    lastPost = time;
    return true;
}

void CSpectrumAnalyser::copyValues(bool isSecond, double* values) const noexcept
{
    const CGathered& from = isSecond ? second : primary;
    if (from.count == 0)
    {
        std::copy_n(from.values, binCount(), values);
        return;
    }
    const double scaling = 1.0 / from.count;
    for (int i = 0; i < binCount(); ++i)
        values[i] = from.values[i] * scaling;
}

double CSpectrumAnalyser::averageTime(bool isSecond) const noexcept
{
    const CSpectrumType how = type(isSecond);
    const bool isOpen = how == CSpectrumType::max || how == CSpectrumType::average;
    return isOpen ? time - resetTime : settings.averageTime;
}

}
