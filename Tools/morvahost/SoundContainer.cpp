// SPDX-License-Identifier: GPL-3.0-or-later
#include "SoundContainer.h"

#include <cstdint>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace kor
{

namespace
{

std::uint64_t readNumber(const unsigned char* bytes, int count, bool isBigEndian)
{
    std::uint64_t value = 0;
    for (int i = 0; i < count; ++i)
        value |= std::uint64_t(bytes[i]) << 8 * (isBigEndian ? count - 1 - i : i);
    return value;
}

}

CError checkSoundIsWhole(int descriptor, const std::string& path)
{
    struct stat found = {};
    if (::fstat(descriptor, &found) != 0 || !S_ISREG(found.st_mode))
        return {};
    const auto size = static_cast<std::uint64_t>(found.st_size);

    const auto readAt = [&](std::uint64_t offset, unsigned char* bytes, std::size_t count)
    { return ::pread(descriptor, bytes, count, static_cast<off_t>(offset)) == static_cast<ssize_t>(count); };

    unsigned char head[12];
    if (!readAt(0, head, sizeof head))
        return {};
    const auto is = [](const unsigned char* bytes, const char* id) { return std::memcmp(bytes, id, 4) == 0; };
    const bool isRf64 = is(head, "RF64") && is(head + 8, "WAVE");
    const bool isWave = isRf64 || ((is(head, "RIFF") || is(head, "RIFX")) && is(head + 8, "WAVE"));
    const bool isAiff = is(head, "FORM") && (is(head + 8, "AIFF") || is(head + 8, "AIFC"));
    if (!isWave && !isAiff)
        return {};
    const bool isBigEndian = isAiff || is(head, "RIFX");
    const char* const soundId = isAiff ? "SSND" : "data";

    std::uint64_t longSize = 0;                     // RF64 keeps the size of its sound in a chunk of its own
    for (std::uint64_t offset = 12; offset + 8 <= size;)
    {
        unsigned char chunk[24];
        if (!readAt(offset, chunk, 8))
            return {};
        std::uint64_t length = readNumber(chunk + 4, 4, isBigEndian);
        const bool isOpen = length == 0xFFFFFFFFu;
        if (isRf64 && is(chunk, "ds64") && length >= 16 && readAt(offset, chunk, 24))
            longSize = readNumber(chunk + 16, 8, false);
        if (is(chunk, soundId))
        {
            if (isOpen && !isRf64)
                return {};
            if (isOpen)
                length = longSize;
            const std::uint64_t present = size - offset - 8;
            if (length > present)
                return KOR_FAIL("'%1' is cut off: its header announces %2 bytes of sound, the file holds %3", path,
                                length, present);
            return {};
        }
        offset += 8 + length + (length & 1);
    }
    return KOR_FAIL("'%1' is cut off: it ends before its sound begins", path);
}

}
