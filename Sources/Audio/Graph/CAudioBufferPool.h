// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace kor
{

class CAudioBufferPool;

/// Header just before a buffer's samples.
struct alignas(16) CAudioSampleBuffer
{
    CAudioBufferPool* pool;
    CAudioSampleBuffer* nextFree;
    std::uint32_t sizeClass;
    std::uint32_t capacity; // doubles
    std::uint32_t useCount;

    double* samples() noexcept { return reinterpret_cast<double*>(this + 1); }
};

// One reference to a sample buffer. Nodes pass buffers on by moving or copying such references; whoever holds the only
// one may write in place. Audio thread only, so that counting needs no atomics.
class CAudioBufferRef
{
public:
    CAudioBufferRef() noexcept = default;
    CAudioBufferRef(const CAudioBufferRef& other) noexcept : buffer(other.buffer)
    {
        if (buffer != nullptr)
            ++buffer->useCount;
    }
    CAudioBufferRef(CAudioBufferRef&& other) noexcept : buffer(std::exchange(other.buffer, nullptr)) {}
    CAudioBufferRef& operator=(CAudioBufferRef other) noexcept
    {
        std::swap(buffer, other.buffer);
        return *this;
    }
    ~CAudioBufferRef() { release(); }

    explicit operator bool() const noexcept { return buffer != nullptr; }
    double* samples() const noexcept { return buffer == nullptr ? nullptr : buffer->samples(); }
    int capacity() const noexcept { return buffer == nullptr ? 0 : static_cast<int>(buffer->capacity); }
    int useCount() const noexcept { return buffer == nullptr ? 0 : static_cast<int>(buffer->useCount); }

    /// Drops the reference; the last one puts the buffer back into its pool.
    void release() noexcept;

private:
    friend class CAudioBufferPool;
    explicit CAudioBufferRef(CAudioSampleBuffer* taken) noexcept : buffer(taken) {}
    CAudioSampleBuffer* buffer = nullptr;
};

// The sample buffers of one instance. A size class is (bytes - 1) >> 9: classes 0 to 63 hold exact multiples of 512
// bytes, so up to 512 samples behind an eightfold upsampler; class 64 holds anything larger. Free buffers wait on a
// list per class, so that the steady state allocates nothing. Audio thread only. All references must be gone before the
// pool.
class CAudioBufferPool
{
public:
    CAudioBufferPool() noexcept = default;
    CAudioBufferPool(const CAudioBufferPool&) = delete;
    CAudioBufferPool& operator=(const CAudioBufferPool&) = delete;
    ~CAudioBufferPool();

    /// A buffer for at least `samples` doubles (1 or more), 16-byte aligned, contents undefined.
    CAudioBufferRef take(int samples);

    /// Makes buffers until at least `count` are free of each size that there is a free one of, the large ones excepted.
    /// Between two blocks; allocates.
    void keepSpare(int count);

    /// Buffers referred to just now; / buffers made so far.
    int inUse() const noexcept { return used; }
    int allocated() const noexcept { return made; }

private:
    friend class CAudioBufferRef;
    static constexpr std::uint32_t largeClass = 64;
    CAudioSampleBuffer* make(std::size_t capacityBytes, std::uint32_t sizeClass);
    void giveBack(CAudioSampleBuffer* buffer) noexcept;

    CAudioSampleBuffer* freeLists[largeClass + 1] = {};
    int used = 0;
    int made = 0;
};

inline void CAudioBufferRef::release() noexcept
{
    if (buffer != nullptr && --buffer->useCount == 0)
        buffer->pool->giveBack(buffer);
    buffer = nullptr;
}

}
