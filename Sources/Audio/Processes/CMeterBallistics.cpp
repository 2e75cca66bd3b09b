// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CMeterBallistics.h"

#include "Audio/Filters/COnePole.h"

#include <algorithm>
#include <cmath>

namespace kor
{

namespace
{

constexpr int shortestFrame = 32;
constexpr double longestPeakTime = 10.0; // seconds
constexpr double instantRelease = 0.0001; // seconds; anything below falls at once
constexpr double powerFloor = 1e-15; // so that two silent signals are equal

// A meter's times are the one-pole's of 1.362 times their length.
constexpr double timeFactor = 1.362;

double coefficientOf(double time, double rateHz) noexcept
{
    return time > 0.0 ? onePoleOfTime(timeFactor * time, rateHz) : 1.0;
}

int framesIn(double time, double rateHz, int frame) noexcept
{
    return std::max(static_cast<int>(std::nearbyint(rateHz * time / frame)), 1);
}

}

void CMeterBallistics::prepare(const CMeterKind& meterKind, double rateHz, double framesPerSecond)
{
    kind = meterKind;
    sampleRate = rateHz;
    nominalFrame = std::max(static_cast<int>(std::nearbyint(rateHz / framesPerSecond)), 1);
    frameSamples = std::max(nominalFrame + nominalFrame % 2, shortestFrame);
    start = followsMinimum() ? 1.0 : 0.0;
    ring.assign(static_cast<std::size_t>(framesIn(longestPeakTime, rateHz, nominalFrame)), start);
    update(settings);
    reset();
}

void CMeterBallistics::update(const CMeterSettings& next) noexcept
{
    settings = next;
    kRms = coefficientOf(settings.useTime2 ? settings.rmsTime2 : settings.rmsTime, sampleRate);
    kBias = coefficientOf(settings.biasTime, sampleRate);
    const double release = settings.useTime2 ? settings.release2 : settings.release;
    kRelease = release < instantRelease ? 1.0 : coefficientOf(release, sampleRate);

    if (kind.isDiff)
        routine = settings.useBias ? &CMeterBallistics::runRatio<true> : &CMeterBallistics::runRatio<false>;
    else if (kind.isCompression)
        routine = settings.useBias ? &CMeterBallistics::runMinimum<true> : &CMeterBallistics::runMinimum<false>;
    else
        routine = &CMeterBallistics::runNormal;

    const int frames = std::min(framesIn(settings.peakTime, sampleRate, nominalFrame), static_cast<int>(ring.size()));
    if (frames != ringFrames)
    {
        ringFrames = frames;
        rescan();
    }
}

void CMeterBallistics::reset() noexcept
{
    rmsA = rmsB = level = bias = frameExtreme = held = start;
    frameRemaining = frameSamples;
    std::ranges::fill(ring, start);
    ringPos = 0;
    heldAge = 0;
}

void CMeterBallistics::runNormal(const double* x, const double*, int count) noexcept
{
    double rms = rmsA;
    double shown = level;
    double highest = frameExtreme;
    for (int i = 0; i < count; ++i)
    {
        const double power = x[i] * x[i];
        rms += (power - rms) * kRms;
        const double falling = shown + (rms - shown) * kRelease;
        shown = rms > shown ? rms : falling;
        highest = std::max(highest, std::max(power, shown));
    }
    rmsA = rms;
    level = shown;
    frameExtreme = highest;
}

template <bool withBias>
void CMeterBallistics::runMinimum(const double* x, const double*, int count) noexcept
{
    double rms = rmsA;
    double shown = level;
    double lowest = frameExtreme;
    double average = bias;
    for (int i = 0; i < count; ++i)
    {
        const double power = x[i] * x[i];
        double relative = power;
        if constexpr (withBias)
        {
            relative = power / average;
            average += (power - average) * kBias;
        }
        rms += (relative - rms) * kRms;
        const double rising = shown + (rms - shown) * kRelease;
        shown = shown > rms ? rms : rising;
        lowest = std::min(lowest, std::min(relative, shown));
    }
    rmsA = rms;
    level = shown;
    frameExtreme = lowest;
    bias = average;
}

template <bool withBias>
void CMeterBallistics::runRatio(const double* x, const double* y, int count) noexcept
{
    double above = rmsA;
    double below = rmsB;
    double average = bias;
    double lowest = frameExtreme;
    double shown = level;
    for (int i = 0; i < count; ++i)
    {
        above += (x[i] * x[i] - above) * kRms;
        below += (y[i] * y[i] - below) * kRms;
        if constexpr (withBias)
        {
            const double ratio = (powerFloor + above) / (powerFloor + below);
            average += (ratio - average) * kBias;
            shown = ratio / average;
            lowest = std::min(lowest, shown);
        }
    }
    rmsA = above;
    rmsB = below;
    bias = average;
    level = shown;
    frameExtreme = lowest;
}

// What the window's frames hold at most, and how long that stays in it.
void CMeterBallistics::rescan() noexcept
{
    const int size = static_cast<int>(ring.size());
    held = start;
    heldAge = 0;
    for (int age = 0; age < ringFrames && age < size; ++age)
    {
        const double extreme = ring[static_cast<std::size_t>((ringPos + 1 + age) % size)];
        if (age == 0 || (followsMinimum() ? extreme < held : extreme > held))
        {
            held = extreme;
            heldAge = ringFrames - 1 - age;
        }
    }
}

void CMeterBallistics::holdPeak() noexcept
{
    ring[static_cast<std::size_t>(ringPos)] = frameExtreme;
    ringPos = ringPos > 0 ? ringPos - 1 : static_cast<int>(ring.size()) - 1;
    if (followsMinimum() ? frameExtreme <= held : frameExtreme >= held)
    {
        held = frameExtreme;
        heldAge = ringFrames;
    }
    else if (heldAge == 0)
        rescan();
    else
        --heldAge;
    frameExtreme = level;
}

CMeterReading CMeterBallistics::endFrame() noexcept
{
    // A sample that was no number, or an overflow, would stay for ever.
    if (!std::isfinite(rmsA + rmsB + level + bias + frameExtreme))
        reset();
    if (hasPeak())
        holdPeak();
    frameRemaining = frameSamples;

    CMeterReading reading;
    if (!hasPeak())
    {
        reading.value = std::sqrt((rmsA + powerFloor) / (rmsB + powerFloor)) * settings.gain;
        reading.peak = reading.value * settings.peakGain;
    }
    else
    {
        const double extreme = followsMinimum() ? std::min(frameExtreme, held) : std::max(frameExtreme, held);
        reading.value = std::sqrt(level) * settings.gain;
        reading.peak = std::sqrt(extreme) * settings.gain * settings.peakGain;
    }
    if (kind.isInverted)
    {
        reading.value = 1.0 / reading.value;
        reading.peak = 1.0 / reading.peak;
    }
    return reading;
}

}
