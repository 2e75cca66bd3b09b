// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioParamSlot.h"
#include "Core/CAllocator.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string_view>

namespace kor
{

// How the routing nodes read their parameters: slots are known by the parameter's name, choices are whole numbers.

/// The slot of an audio:param-alloc by its parameter's name; null when the node has none.
inline const CAudioParamSlot* findSlotNamed(const CArray<std::unique_ptr<CAudioParamSlot>>& slots,
                                            std::string_view name) noexcept
{
    const auto found = std::ranges::find_if(slots, [name](const auto& slot)
                                            { return slot->alloc != nullptr && slot->name.equals(name); });
    return found != slots.end() ? found->get() : nullptr;
}

/// The value rounded to the nearest integer, of ties the even one, within -1 to 9999; 0 without a slot.
inline int readChoice(const CAudioParamSlot* slot, int group, int element) noexcept
{
    const double value = slot != nullptr ? slot->values.getValue(group, element) : 0.0;
    return value > -1.0 ? static_cast<int>(std::nearbyint(std::min(value, 9999.0))) : -1;
}

}
