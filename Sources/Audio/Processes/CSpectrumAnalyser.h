// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CFftPool.h"

#include <memory>

namespace kor
{

/// How the magnitudes of one frame join those of the frames before; numbered as the parameter's states.
enum class CSpectrumType
{
    runningAverage,
    max, // since the last reset
    average, // since the last reset
    runningMax, // rises at once, falls like the running average
};

struct CSpectrumSettings
{
    int blockSize = 5; // 0 to 10: a block has 2^(blockSize + 6) samples
    double overlap = 0.5; // share of a block that the next one repeats, 0.5 to 0.9375
    double averageTime = 0.3; // seconds in which the running types close 90 % of their distance
    CSpectrumType type = CSpectrumType::runningAverage;
    CSpectrumType secondType = CSpectrumType::runningAverage;
    bool hasSecond = false; // a second spectrum is gathered from the same frames
};

// The spectrum of one channel: a Hann-windowed FFT every `hop` samples, whose magnitudes are gathered in one way or two
// until somebody wants to see them, as often as the display has frames at most. A sine in the middle of a bin reads as
// its RMS value. All memory is taken beforehand, for the longest block; only the first use of a block size in the
// process may take some, for the FFT's work.
class CSpectrumAnalyser
{
public:
    CSpectrumAnalyser() = default;
    CSpectrumAnalyser(const CSpectrumAnalyser&) = delete;
    CSpectrumAnalyser& operator=(const CSpectrumAnalyser&) = delete;
    ~CSpectrumAnalyser();

    /// Allocates; an update() follows before anything else. framesPerSecond: above 0. Without memory the analyser takes
    /// samples and shows nothing.
    void prepare(double rateHz, double framesPerSecond);

    /// New settings. now: the time of the next sample in seconds. Starts anew when mustReset or when a setting asks for
    /// it: block size, type, whether there is a second spectrum, and its type while there is. Audio thread.
    void update(const CSpectrumSettings& next, bool mustReset, double now) noexcept;

    /// Forgets all samples and frames. Audio thread.
    void reset(double now) noexcept;

    /// Samples from here to the end of the next frame, 1 or more.
    int remaining() const noexcept { return hopRemaining; }

    /// Takes `count` samples, 1 to remaining(). True when a frame has been gathered and it is time to show the result.
    bool process(const double* samples, int count) noexcept;

    // What is shown then.
    int blockLength() const noexcept { return blockSamples; }
    int binCount() const noexcept { return blockSamples / 2 + 1; }
    CSpectrumType type(bool isSecond) const noexcept { return isSecond ? settings.secondType : settings.type; }
    bool hasSecond() const noexcept { return settings.hasSecond; }

    /// Linear magnitudes, binCount() of them.
    void copyValues(bool isSecond, double* values) const noexcept;

    /// Seconds over which a spectrum was gathered; the running types tell their time.
    double averageTime(bool isSecond) const noexcept;

    /// The middle of the last block, in seconds.
    double timeStamp() const noexcept { return time - 0.5 * blockSamples / sampleRate; }

    int hopLength() const noexcept { return hop; } // samples
    double smoothCoefficient() const noexcept { return smoothK; } // per frame
    double scale() const noexcept { return windowScale; }

    static constexpr int smallestOrder = 6;
    static constexpr int largestOrder = 16;

private:
    struct CGathered
    {
        double* values = nullptr;
        int count = 0; // frames summed up, of the average only
    };

    bool canAnalyse() const noexcept { return memory != nullptr && fft != nullptr; }
    void takeFft() noexcept;
    void prepareWindow() noexcept;
    void applyWindow() noexcept;
    void analyse() noexcept;
    void gather(CGathered& into, CSpectrumType how) noexcept;

    struct CRelease
    {
        void operator()(double* p) const noexcept;
    };
    std::unique_ptr<double, CRelease> memory;
    double* ring = nullptr; // the last samples; the oldest at ringPos
    double* frame = nullptr; // the block that is analysed
    double* magnitudes = nullptr;
    CGathered primary;
    CGathered second;
    CFftObject* fft = nullptr;

    CSpectrumSettings settings;
    bool isNew = true; // has no settings yet
    double sampleRate = 44100.0;
    int blockSamples = 0;
    int hop = 1;
    int hopRemaining = 1;
    int ringPos = 0;
    double smoothK = 1.0;
    double time = 0.0; // of the next sample
    double resetTime = 0.0;
    double lastPost = 0.0;
    double postInterval = 0.0;

    // The window's cosine, one sample of it per lane, is continued by a recurrence over all lanes at once.
    static constexpr int lanes = 8;
    double windowScale = 0.0;
    double windowStep = 0.0;
    double windowFirst[lanes] = {};
    double windowBefore[lanes] = {};
};

}
