// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CAudioHostEvents.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace kor
{

CAudioHostEvents::CAudioHostEvents(std::size_t capacity)
{
    events.reserve(capacity);
}

void CAudioHostEvents::add(int offset, int index, double value) noexcept
{
    if (events.size() < events.capacity() && !std::isnan(value))
        events.push_back({offset, index, std::clamp(value, 0.0, 1.0), events.size()});
}

void CAudioHostEvents::sort(int frames) noexcept
{
    for (CAudioHostEvent& event : events)
        event.offset = std::clamp(event.offset, 0, std::max(frames - 1, 0));
    // The order is part of the key, since a stable sort may allocate.
    std::ranges::sort(events, {}, [](const CAudioHostEvent& event) { return std::tuple(event.offset, event.order); });
    next = 0;
}

void CAudioHostEvents::clear() noexcept
{
    events.clear();
    next = 0;
}

}
