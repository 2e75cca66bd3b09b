// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CPendingFile.h"

#include <sndfile.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kor
{

/// Sample formats of a written WAV file.
enum class CSampleFormat
{
    f32,
    f64,
    s16,
    s24,
    s32
};

/// "f32", "f64", "s16", "s24", "s32"; false for anything else.
bool parseSampleFormat(std::string_view text, CSampleFormat& format);

// A WAV file being written, from doubles of -1 to 1 at full scale. The same samples give the same bytes. Integer formats
// round to the nearest step and clip at full scale, so that a recording that was read from one comes out unchanged.
// Sizes beyond 4 GB are written as RF64. Nothing stands at the output's place before commit().
class CWaveWriter
{
public:
    ~CWaveWriter();

    /// frames: what will be written, to choose the container.
    CError open(const std::string& path, bool mayReplace, int channelCount, int sampleRate, CSampleFormat sampleFormat,
                std::int64_t frames);

    CError write(const double* interleaved, int count);
    CError commit();

    /// Samples that were beyond full scale in an integer format.
    std::int64_t clippedCount() const noexcept { return clipped; }

private:
    CPendingFile file;
    SNDFILE* sound = nullptr;
    CSampleFormat format = CSampleFormat::f32;
    int channels = 0;
    std::int64_t clipped = 0;
    std::vector<int> integers;
};

}
