// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"

#include <sndfile.h>

#include <cstdint>
#include <string>

namespace kor
{

// A recording on the disk, read block by block as doubles of -1 to 1 at full scale. Takes every format that libsndfile
// reads. Every fault of the file that can be seen at its start is a failure of open().
class CWaveReader
{
public:
    CWaveReader() = default;
    ~CWaveReader();
    CWaveReader(const CWaveReader&) = delete;
    CWaveReader& operator=(const CWaveReader&) = delete;

    /// maxChannels: the most that the caller can process.
    CError open(const std::string& path, int maxChannels);

    int channelCount() const noexcept { return channels; }
    int sampleRate() const noexcept { return rate; }
    std::int64_t frameCount() const noexcept { return frames; }

    /// Reads exactly `count` frames, interleaved. A sample that is not finite reads as silence and is counted: one of
    /// them would stay in a recursive filter for ever.
    CError read(double* interleaved, int count);

    /// How many samples were not finite so far, and where the first was (frame, channel; from 0).
    std::int64_t badSampleCount() const noexcept { return badSamples; }
    std::int64_t firstBadFrame() const noexcept { return firstBad / channels; }
    int firstBadChannel() const noexcept { return static_cast<int>(firstBad % channels); }

    /// True when `other` names the file that is open, by whatever path.
    bool isSameFile(const std::string& other) const;

private:
    std::string name;
    int descriptor = -1;
    SNDFILE* sound = nullptr;
    int channels = 0;
    int rate = 0;
    std::int64_t frames = 0;
    std::int64_t position = 0;
    std::int64_t badSamples = 0;
    std::int64_t firstBad = 0;
};

}
