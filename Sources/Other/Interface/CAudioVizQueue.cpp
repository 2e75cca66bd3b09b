// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CAudioVizQueue.h"

namespace kor
{

CAudioVizQueue::CAudioVizQueue(CAudioVizQueue&& other) noexcept
    : first(std::exchange(other.first, nullptr)), last(std::exchange(other.last, nullptr)),
      count(std::exchange(other.count, 0))
{
}

CAudioVizQueue& CAudioVizQueue::operator=(CAudioVizQueue&& other) noexcept
{
    std::swap(first, other.first);
    std::swap(last, other.last);
    std::swap(count, other.count);
    return *this;
}

void CAudioVizQueue::append(CAudioVizDataPtr data) noexcept
{
    CAudioVizData* const added = std::exchange(data.data, nullptr);     // the queue holds the reference
    added->next = nullptr;
    (last != nullptr ? last->next : first) = added;
    last = added;
    ++count;
}

CAudioVizDataPtr CAudioVizQueue::takeOldest() noexcept
{
    CAudioVizDataPtr taken;
    if (first == nullptr)
        return taken;
    taken.data = first;
    first = std::exchange(first->next, nullptr);
    if (first == nullptr)
        last = nullptr;
    --count;
    return taken;
}

void CAudioVizQueue::clear() noexcept
{
    while (first != nullptr)
        takeOldest();
}

}
