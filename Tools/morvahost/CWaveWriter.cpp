// SPDX-License-Identifier: GPL-3.0-or-later
#include "CWaveWriter.h"

#include <cerrno>
#include <cmath>
#include <unistd.h>

namespace kor
{

namespace
{

struct CFormatRow
{
    const char* name;
    CSampleFormat format;
    int subtype;
    int bytes;
    int integerBits;            // 0 for floating point
};

constexpr CFormatRow formatRows[] = {
    {"f32", CSampleFormat::f32, SF_FORMAT_FLOAT, 4, 0},
    {"f64", CSampleFormat::f64, SF_FORMAT_DOUBLE, 8, 0},
    {"s16", CSampleFormat::s16, SF_FORMAT_PCM_16, 2, 16},
    {"s24", CSampleFormat::s24, SF_FORMAT_PCM_24, 3, 24},
    {"s32", CSampleFormat::s32, SF_FORMAT_PCM_32, 4, 32},
};

const CFormatRow& rowOf(CSampleFormat format)
{
    return formatRows[static_cast<int>(format)];
}

}

bool parseSampleFormat(std::string_view text, CSampleFormat& format)
{
    for (const CFormatRow& row : formatRows)
        if (text == row.name)
        {
            format = row.format;
            return true;
        }
    return false;
}

CWaveWriter::~CWaveWriter()
{
    if (sound != nullptr)
        sf_close(sound);
}

CError CWaveWriter::open(const std::string& path, bool mayReplace, int channelCount, int sampleRate,
                         CSampleFormat sampleFormat, std::int64_t frames)
{
    KOR_TRY(file.open(path, mayReplace));
    format = sampleFormat;
    channels = channelCount;
    const CFormatRow& row = rowOf(format);
    const bool isLarge = frames * channels * row.bytes > 0xFFFF0000LL;
    SF_INFO info = {};
    info.channels = channels;
    info.samplerate = sampleRate;
    // The extended header says what the plain one cannot: more than two channels.
    info.format = row.subtype | (isLarge ? SF_FORMAT_RF64 : channels > 2 ? SF_FORMAT_WAVEX : SF_FORMAT_WAV);
    sound = sf_open_fd(::dup(file.descriptor()), SFM_WRITE, &info, SF_TRUE);
    if (sound == nullptr)
        return KOR_FAIL("unable to write '%1': %2", path, sf_strerror(nullptr));
    // The peak chunk carries the time of day, and equal renders are to be equal files.
    sf_command(sound, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    return {};
}

CError CWaveWriter::write(const double* interleaved, int count)
{
    const CFormatRow& row = rowOf(format);
    errno = 0;
    sf_count_t written = 0;
    if (row.integerBits == 0)
        written = sf_writef_double(sound, interleaved, count);
    else
    {
        // The library's own scaling is by 2^(n-1) - 1, which would change a recording that only passes through.
        const double scale = std::ldexp(1.0, row.integerBits - 1);
        const auto samples = static_cast<std::size_t>(count) * static_cast<std::size_t>(channels);
        integers.resize(samples);
        for (std::size_t i = 0; i < samples; ++i)
        {
            const double step = std::nearbyint(interleaved[i] * scale);
            const double held = std::fmin(std::fmax(step, -scale), scale - 1.0);
            clipped += held != step ? 1 : 0;
            integers[i] = static_cast<int>(static_cast<std::int64_t>(held) * (std::int64_t(1) << (32 - row.integerBits)));
        }
        written = sf_writef_int(sound, integers.data(), count);
    }
    if (written != count)
        return file.failure(errno != 0 ? errno : EIO);
    return {};
}

CError CWaveWriter::commit()
{
    errno = 0;
    const int closed = sf_close(sound);
    sound = nullptr;
    if (closed != 0)
        return file.failure(errno != 0 ? errno : EIO);
    return file.commit();
}

}
