// SPDX-License-Identifier: GPL-3.0-or-later
#include "CWaveReader.h"

#include "SoundContainer.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kor
{

CWaveReader::~CWaveReader()
{
    if (sound != nullptr)
        sf_close(sound);
    if (descriptor >= 0)
        ::close(descriptor);
}

CError CWaveReader::open(const std::string& path, int maxChannels)
{
    name = path;
    descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return KOR_FAIL("unable to read '%1': %2", path, std::strerror(errno));
    struct stat found = {};
    if (::fstat(descriptor, &found) != 0)
        return KOR_FAIL("unable to read '%1': %2", path, std::strerror(errno));
    if (S_ISDIR(found.st_mode))
        return KOR_FAIL("'%1' is a directory; give a sound file", path);
    if (!S_ISREG(found.st_mode))
        return KOR_FAIL("'%1' is not a regular file", path);
    if (found.st_size == 0)
        return KOR_FAIL("'%1' is empty", path);

    KOR_TRY(checkSoundIsWhole(descriptor, path));
    SF_INFO info = {};
    // A descriptor of its own, which the library closes in every case.
    sound = sf_open_fd(::dup(descriptor), SFM_READ, &info, SF_TRUE);
    if (sound == nullptr)
        return KOR_FAIL("'%1' is no sound file that can be read: %2", path, sf_strerror(nullptr));
    if (info.channels < 1 || info.channels > maxChannels)
        return KOR_FAIL("'%1' has %2 channels; 1 to %3 can be processed", path, info.channels, maxChannels);
    if (info.samplerate < 8000 || info.samplerate > 768000)
        return KOR_FAIL("'%1' has a sample rate of %2 Hz; 8000 to 768000 Hz can be processed", path, info.samplerate);
    if (info.frames <= 0)
        return KOR_FAIL("'%1' holds no sound", path);
    channels = info.channels;
    rate = info.samplerate;
    frames = info.frames;
    return {};
}

CError CWaveReader::read(double* interleaved, int count)
{
    if (sf_readf_double(sound, interleaved, count) != count)
    {
        const char* const reason = sf_error(sound) != SF_ERR_NO_ERROR ? sf_strerror(sound) : "it is cut off";
        return KOR_FAIL("'%1' cannot be read to its end (from frame %2 of %3 on): %4", name, position, frames, reason);
    }
    const std::int64_t samples = std::int64_t(count) * channels;
    for (std::int64_t i = 0; i < samples; ++i)
        if (!std::isfinite(interleaved[i]))
        {
            interleaved[i] = 0.0;
            if (badSamples++ == 0)
                firstBad = position * channels + i;
        }
    position += count;
    return {};
}

bool CWaveReader::isSameFile(const std::string& other) const
{
    struct stat mine = {};
    struct stat theirs = {};
    return ::fstat(descriptor, &mine) == 0 && ::stat(other.c_str(), &theirs) == 0 && mine.st_dev == theirs.st_dev &&
           mine.st_ino == theirs.st_ino;
}

}
