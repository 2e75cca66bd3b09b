// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioBufferPool.h"

#include "Core/CAllocator.h"

#include <cassert>
#include <new>

namespace kor
{

static_assert(sizeof(CAudioSampleBuffer) % 16 == 0);

CAudioBufferPool::~CAudioBufferPool()
{
    assert(used == 0);
    for (CAudioSampleBuffer* list : freeLists)
    {
        while (list != nullptr)
        {
            CAudioSampleBuffer* next = list->nextFree;
            freeBlock(list);
            list = next;
        }
    }
}

CAudioBufferRef CAudioBufferPool::take(int samples)
{
    assert(samples > 0);
    const std::size_t bytes = static_cast<std::size_t>(samples) * sizeof(double);
    const std::size_t exactClass = (bytes - 1) >> 9;
    const std::uint32_t sizeClass = exactClass < largeClass ? static_cast<std::uint32_t>(exactClass) : largeClass;

    // Every buffer of classes 0 to 63 fits; the large ones are looked through.
    CAudioSampleBuffer** link = &freeLists[sizeClass];
    while (*link != nullptr && (*link)->capacity < static_cast<std::uint32_t>(samples))
        link = &(*link)->nextFree;

    CAudioSampleBuffer* buffer = *link;
    if (buffer != nullptr)
    {
        *link = buffer->nextFree;
    }
    else
    {
        buffer = make((exactClass + 1) << 9, sizeClass);
    }
    buffer->nextFree = nullptr;
    buffer->useCount = 1;
    ++used;
    return CAudioBufferRef(buffer);
}

CAudioSampleBuffer* CAudioBufferPool::make(std::size_t capacityBytes, std::uint32_t sizeClass)
{
    auto* const buffer = new (needBlock(sizeof(CAudioSampleBuffer) + capacityBytes)) CAudioSampleBuffer;
    buffer->pool = this;
    buffer->sizeClass = sizeClass;
    buffer->capacity = static_cast<std::uint32_t>(capacityBytes / sizeof(double));
    ++made;
    return buffer;
}

void CAudioBufferPool::keepSpare(int count)
{
    for (std::uint32_t c = 0; c < largeClass; ++c)
    {
        int free = 0;
        for (const CAudioSampleBuffer* buffer = freeLists[c]; buffer != nullptr; buffer = buffer->nextFree)
            ++free;
        for (; free > 0 && free < count; ++free)
        {
            CAudioSampleBuffer* const spare = make(std::size_t{c + 1} << 9, c);
            spare->nextFree = freeLists[c];
            freeLists[c] = spare;
        }
    }
}

void CAudioBufferPool::giveBack(CAudioSampleBuffer* buffer) noexcept
{
    buffer->nextFree = freeLists[buffer->sizeClass];
    freeLists[buffer->sizeClass] = buffer;
    --used;
}

}
