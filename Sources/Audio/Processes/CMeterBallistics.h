// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAllocator.h"

namespace kor
{

/// What a meter shows: the level of one signal, its minimum-following counterpart for signals like a gain reduction, or
/// the ratio of two levels.
struct CMeterKind
{
    bool isDiff = false;
    bool isCompression = false;
    bool isInverted = false; // reciprocals are shown
};

/// Times in seconds, gains linear; the values of a meter whose parameters nobody binds.
struct CMeterSettings
{
    double peakTime = 1.0;
    double rmsTime = 0.15;
    double gain = 1.0;
    double biasTime = 1.0;
    bool useBias = false;
    double release = 0.0;
    double peakGain = 1.0;
    double rmsTime2 = 0.15; // with useTime2 in the place of rmsTime and release
    double release2 = 0.0;
    bool useTime2 = false;

    bool operator==(const CMeterSettings&) const = default;
};

struct CMeterReading
{
    double value;
    double peak;
};

// The needle of one channel: running power, a level that rises at once and falls slowly, and the peak of the frames of
// the last `peakTime`. All of it is power, amplitudes appear in the reading only. Time is cut into frames, one for each
// frame of the display; whoever feeds the meter stops at each frame's end and takes the reading there. The peak costs a
// walk over the window's frames only when the one that holds it has left the window.
class CMeterBallistics
{
public:
    /// Fixes what never changes and takes the memory for any peak time up to 10 s. framesPerSecond: above 0. A frame is
    /// even and no shorter than 32 samples. Allocates.
    void prepare(const CMeterKind& meterKind, double rateHz, double framesPerSecond);

    /// New times and gains; levels and peaks run on. Audio thread, after prepare.
    void update(const CMeterSettings& next) noexcept;

    /// Forgets all history. Audio thread, after update.
    void reset() noexcept;

    /// Samples from here to the frame's end, 1 or more.
    int remaining() const noexcept { return frameRemaining; }

    /// Takes `count` samples, 1 to remaining(); y: the signal below the ratio, for isDiff only. True at a frame's end,
    /// which the caller then closes by endFrame().
    bool process(const double* x, const double* y, int count) noexcept
    {
        (this->*routine)(x, y, count);
        frameRemaining -= count;
        return frameRemaining == 0;
    }

    /// Closes the frame and tells what it shows.
    CMeterReading endFrame() noexcept;

    int frameLength() const noexcept { return frameSamples; }
    int ringSize() const noexcept { return ringFrames; } // frames of the peak's window

    // Per sample, 0 to 1.
    double rmsCoefficient() const noexcept { return kRms; }
    double releaseCoefficient() const noexcept { return kRelease; }
    double biasCoefficient() const noexcept { return kBias; }

private:
    using CRoutine = void (CMeterBallistics::*)(const double* x, const double* y, int count) noexcept;
    void runNormal(const double* x, const double*, int count) noexcept;
    template <bool withBias>
    void runMinimum(const double* x, const double*, int count) noexcept;
    template <bool withBias>
    void runRatio(const double* x, const double* y, int count) noexcept;

    bool followsMinimum() const noexcept { return kind.isDiff || kind.isCompression; }
    bool hasPeak() const noexcept { return !kind.isDiff || settings.useBias; }
    void holdPeak() noexcept;
    void rescan() noexcept;

    CMeterKind kind;
    CMeterSettings settings;
    double sampleRate = 44100.0;
    int nominalFrame = 1; // as the display's rate asks for it
    int frameSamples = 32;
    CRoutine routine = &CMeterBallistics::runNormal;

    double start = 0.0; // of all states
    double kRms = 1.0;
    double kRelease = 1.0;
    double kBias = 1.0;

    double rmsA = 0.0; // running power of x
    double rmsB = 0.0; // of y
    double level = 0.0;
    double bias = 0.0; // slow average that the minimum is taken against
    double frameExtreme = 0.0;
    int frameRemaining = 32;

    // The extremes of past frames, the newest behind ringPos; more of them than the window holds, so that another peak
    // time finds what it needs.
    CArray<double> ring;
    int ringPos = 0;
    int ringFrames = 1;
    double held = 0.0;
    int heldAge = 0; // frames until `held` leaves the window
};

}
