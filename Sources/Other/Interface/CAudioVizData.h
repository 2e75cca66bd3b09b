// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStream.h"

#include <atomic>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace kor
{

class CAudioVizPool;
template <class T>
class CAudioVizRef;

/// Class of a data object; stands ahead of the body in a stream.
enum class CAudioVizKind : std::int32_t
{
    meter = 0,
    info = 1,
    plain = 2,
    spectrum = 3,
    rgb = 4
};

// What a module measured for the display at one moment of the audio, and the base of what has values of its own.
// Counted, since another instance may still read what this one has let go of; at its last reference it goes back to the
// pool that it came from, which neither allocates nor frees. Whoever makes one fills it before it is posted; from then on
// nobody writes to it.
class CAudioVizData
{
public:
    CAudioVizData() noexcept : CAudioVizData(CAudioVizKind::plain) {}
    CAudioVizData(const CAudioVizData& other) noexcept;
    CAudioVizData& operator=(const CAudioVizData& other) noexcept;
    virtual ~CAudioVizData() = default;

    /// The body: channel, group, element, time and source, then the class's own fields.
    virtual CError write(COutputStream& stream) const;

    /// The body, from a stream that ends with it. Whatever the bytes say, memory is taken only as they arrive.
    virtual CError read(CInputStream& stream);

    const CAudioVizKind kind;

    /// The module's channel, -1 for the whole group.
    std::int32_t channel = 0;

    /// Channel group, 0 to 7.
    std::int32_t group = 0;

    /// Band.
    std::int32_t element = 0;

    /// Seconds of the instance's audio time that this shows.
    double time = 0.0;

    /// -1: this instance's; 0 to 47: came by that export slot.
    std::int32_t source = -1;

    /// Base fields and those of the class. A copy that this makes is of no pool.
    static CAudioVizRef<CAudioVizData> clone(const CAudioVizData& data);

    /// Kind, size of the body in bytes, body.
    static CError writeAny(COutputStream& stream, const CAudioVizData& data);

    /// The counterpart. `data` is null for a kind nobody knows, whose body has been skipped. A body may be longer than
    /// its class knows, never shorter. Fails with "Invalid size %1 of visualisation data."
    static CError readAny(CInputStream& stream, CAudioVizRef<CAudioVizData>& data);

    static constexpr std::int32_t baseBytes = 24;

protected:
    explicit CAudioVizData(CAudioVizKind kindOfClass) noexcept : kind(kindOfClass) {}

private:
    template <class T>
    friend class CAudioVizRef;
    friend class CAudioVizCollector;
    friend class CAudioVizPool;
    friend class CAudioVizQueue;
    void drop() noexcept;

    std::atomic<int> references{0};
    CAudioVizPool* pool = nullptr;                  // that it goes back to; null for none
    int poolClass = -1;                             // its sort there
    CAudioVizData* next = nullptr;                  // in the pool, or in the one queue that it waits in
    double postedAt = 0.0;                          // the environment's time
};

// A counted reference to a data object. Copies share it. Any thread, one at a time.
template <class T>
class CAudioVizRef
{
public:
    CAudioVizRef() noexcept = default;
    explicit CAudioVizRef(T* object) noexcept : data(object) { take(); }
    CAudioVizRef(const CAudioVizRef& other) noexcept : data(other.data) { take(); }
    CAudioVizRef(CAudioVizRef&& other) noexcept : data(std::exchange(other.data, nullptr)) {}

    /// A reference to a derived class becomes one to its base.
    template <class U>
        requires std::is_convertible_v<U*, T*>
    CAudioVizRef(CAudioVizRef<U>&& other) noexcept : data(std::exchange(other.data, nullptr))
    {
    }
    CAudioVizRef& operator=(CAudioVizRef other) noexcept
    {
        std::swap(data, other.data);
        return *this;
    }
    ~CAudioVizRef()
    {
        if (data != nullptr && data->references.fetch_sub(1, std::memory_order_acq_rel) == 1)
            data->drop();
    }

    T* get() const noexcept { return data; }
    T* operator->() const noexcept { return data; }
    T& operator*() const noexcept { return *data; }
    explicit operator bool() const noexcept { return data != nullptr; }

    /// The object as the class that its kind stands for; null for another.
    template <class D>
    D* as() const noexcept
    {
        return dynamic_cast<D*>(data);
    }

private:
    template <class U>
    friend class CAudioVizRef;
    friend class CAudioVizQueue;

    void take() noexcept
    {
        if (data != nullptr)
            data->references.fetch_add(1, std::memory_order_relaxed);
    }

    T* data = nullptr;
};

using CAudioVizDataPtr = CAudioVizRef<CAudioVizData>;

}
