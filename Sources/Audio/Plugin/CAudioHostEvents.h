// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <vector>

namespace kor
{

/// A host's write to one of its parameters, at a sample of the block.
struct CAudioHostEvent
{
    int offset;                                 // samples from the start of the block
    int index;                                  // row of the list of external parameters
    double value;                               // 0 to 1
    std::size_t order;                          // in which it was added
};

// The parameter events of one block, in the order of their samples. Room for all is made once, so that adding never
// allocates. One thread at a time.
class CAudioHostEvents
{
public:
    explicit CAudioHostEvents(std::size_t capacity);

    /// Beyond the capacity, or with a value that is no number, the event is dropped.
    void add(int offset, int index, double value) noexcept;

    /// Brings offsets within 0 to frames - 1 (0 for no frames) and the events in order, those of one sample as they
    /// were added.
    void sort(int frames) noexcept;

    /// The next event at `position` or before it, null for none. After sort.
    const CAudioHostEvent* take(int position) noexcept
    {
        return next < events.size() && events[next].offset <= position ? &events[next++] : nullptr;
    }

    /// Offset of the next event, but `end` at most. After sort.
    int nextOffset(int end) const noexcept
    {
        return next < events.size() && events[next].offset < end ? events[next].offset : end;
    }

    void clear() noexcept;

private:
    std::vector<CAudioHostEvent> events;
    std::size_t next = 0;
};

}
