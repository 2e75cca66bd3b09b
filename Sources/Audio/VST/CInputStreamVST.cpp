// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/VST/CInputStreamVST.h"

#include <algorithm>

namespace kor
{

namespace
{

constexpr std::int64_t largestRead = std::int64_t{1} << 30; // a host counts in 32 bits

}

CError CInputStreamVST::read(void* buffer, std::int64_t count)
{
    std::int64_t done = count;
    KOR_TRY(readRef(buffer, done));
    if (done != count)
        return KOR_FAIL("The host's stream ends after %1 of %2 bytes.", done, count);
    return {};
}

CError CInputStreamVST::readRef(void* buffer, std::int64_t& count)
{
    const std::int64_t wanted = std::max<std::int64_t>(count, 0);
    std::int64_t done = 0;
    while (done < wanted)
    {
        const auto asked = static_cast<Steinberg::int32>(std::min(wanted - done, largestRead));
        Steinberg::int32 got = 0;
        // Hosts differ in what they return at the end of a stream; the count is what tells.
        stream.read(static_cast<char*>(buffer) + done, asked, &got);
        if (got < 0 || got > asked)
            return KOR_FAIL("The host's stream read %1 bytes of %2.", got, asked);
        if (got == 0)
            break;
        done += got;
    }
    count = done;
    return {};
}

CError CInputStreamVST::getPosition(std::int64_t& position)
{
    Steinberg::int64 place = 0;
    if (stream.tell(&place) != Steinberg::kResultOk || place < 0)
        return KOR_FAIL("The host's stream does not tell its position.");
    position = place;
    return {};
}

CError CInputStreamVST::setPosition(std::int64_t position)
{
    Steinberg::int64 place = 0;
    if (stream.seek(position, Steinberg::IBStream::kIBSeekSet, &place) != Steinberg::kResultOk)
        return KOR_FAIL("The host's stream cannot go to position %1.", position);
    return {};
}

CError CInputStreamVST::getSize(std::int64_t& size)
{
    std::int64_t here = 0;
    KOR_TRY(getPosition(here));
    Steinberg::int64 end = 0;
    if (stream.seek(0, Steinberg::IBStream::kIBSeekEnd, &end) != Steinberg::kResultOk)
        return KOR_FAIL("The host's stream does not tell its size.");
    KOR_TRY(getPosition(size));
    KOR_TRY(setPosition(here));
    return {};
}

}
