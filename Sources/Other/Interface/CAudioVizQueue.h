// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Other/Interface/CAudioVizData.h"

namespace kor
{

// Data objects in the order of their arrival, linked through themselves, so that putting one in and taking one out costs
// no memory. An object waits in one queue at most.
class CAudioVizQueue
{
public:
    CAudioVizQueue() = default;
    CAudioVizQueue(CAudioVizQueue&& other) noexcept;
    CAudioVizQueue& operator=(CAudioVizQueue&& other) noexcept;
    ~CAudioVizQueue() { clear(); }

    int size() const noexcept { return count; }
    bool isEmpty() const noexcept { return first == nullptr; }

    /// The oldest one; null when there is none.
    const CAudioVizData* oldest() const noexcept { return first; }

    void append(CAudioVizDataPtr data) noexcept;

    /// The oldest one; empty when there is none.
    CAudioVizDataPtr takeOldest() noexcept;
    void clear() noexcept;

private:
    CAudioVizData* first = nullptr;
    CAudioVizData* last = nullptr;
    int count = 0;
};

}
