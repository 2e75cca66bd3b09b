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
        const std::size_t capacityBytes = (exactClass + 1) << 9;
        buffer = new (needBlock(sizeof(CAudioSampleBuffer) + capacityBytes)) CAudioSampleBuffer;
        buffer->pool = this;
        buffer->sizeClass = sizeClass;
        buffer->capacity = static_cast<std::uint32_t>(capacityBytes / sizeof(double));
        ++made;
    }
    buffer->nextFree = nullptr;
    buffer->useCount = 1;
    ++used;
    return CAudioBufferRef(buffer);
}

void CAudioBufferPool::giveBack(CAudioSampleBuffer* buffer) noexcept
{
    buffer->nextFree = freeLists[buffer->sizeClass];
    freeLists[buffer->sizeClass] = buffer;
    --used;
}

}
