// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/VST/COutputStreamVST.h"

#include "Audio/VST/CInputStreamVST.h"

#include <algorithm>

namespace kor
{

namespace
{

constexpr std::int64_t largestWrite = std::int64_t{1} << 30; // a host counts in 32 bits

}

CError COutputStreamVST::write(const void* buffer, std::int64_t count)
{
    std::int64_t done = 0;
    while (done < count)
    {
        const auto asked = static_cast<Steinberg::int32>(std::min(count - done, largestWrite));
        Steinberg::int32 put = 0;
        // The host takes a pointer to bytes that it may not change.
        void* const bytes = const_cast<char*>(static_cast<const char*>(buffer) + done);
        if (stream.write(bytes, asked, &put) != Steinberg::kResultOk || put <= 0 || put > asked)
            return KOR_FAIL("The host's stream took %1 of %2 bytes.", done, count);
        done += put;
    }
    return {};
}

CError COutputStreamVST::getPosition(std::int64_t& position)
{
    KOR_TRY(CInputStreamVST(stream).getPosition(position));
    return {};
}

CError COutputStreamVST::setPosition(std::int64_t position)
{
    KOR_TRY(CInputStreamVST(stream).setPosition(position));
    return {};
}

CError COutputStreamVST::getSize(std::int64_t& size)
{
    KOR_TRY(CInputStreamVST(stream).getSize(size));
    return {};
}

}
