// SPDX-License-Identifier: GPL-3.0-or-later
#include "Vst3Host/CHostStream.h"

#include <algorithm>
#include <cstring>

namespace kor
{

using namespace Steinberg;

tresult CHostStream::read(void* buffer, int32 count, int32* done)
{
    if (count < 0 || (buffer == nullptr && count > 0))
        return kInvalidArgument;
    const std::size_t present = std::min(static_cast<std::size_t>(count), bytes.size() - position);
    if (present > 0)
        std::memcpy(buffer, bytes.data() + position, present);
    position += present;
    if (done != nullptr)
        *done = static_cast<int32>(present);
    return kResultOk;
}

tresult CHostStream::write(void* buffer, int32 count, int32* done)
{
    if (count < 0 || (buffer == nullptr && count > 0))
        return kInvalidArgument;
    const auto size = static_cast<std::size_t>(count);
    bytes.resize(std::max(bytes.size(), position + size));
    if (size > 0)
        std::memcpy(bytes.data() + position, buffer, size);
    position += size;
    if (done != nullptr)
        *done = count;
    return kResultOk;
}

tresult CHostStream::seek(int64 offset, int32 mode, int64* result)
{
    const auto size = static_cast<int64>(bytes.size());
    int64 from = 0;
    if (mode == kIBSeekCur)
        from = static_cast<int64>(position);
    else if (mode == kIBSeekEnd)
        from = size;
    else if (mode != kIBSeekSet)
        return kInvalidArgument;
    if (offset < -from || offset > size - from)
        return kInvalidArgument;
    position = static_cast<std::size_t>(from + offset);
    if (result != nullptr)
        *result = from + offset;
    return kResultOk;
}

tresult CHostStream::tell(int64* result)
{
    if (result == nullptr)
        return kInvalidArgument;
    *result = static_cast<int64>(position);
    return kResultOk;
}

}
