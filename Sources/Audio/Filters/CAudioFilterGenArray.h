// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterGen.h"

namespace kor
{

// Numbered generators to choose from by a parameter (`audio:fltgen-array`). Slots may be empty, and one generator may
// stand in several. Filled while the tree starts, constant from then on.
class CAudioFilterGenArray : public CObject
{
public:
    static constexpr int maxIndex = 4095;

    /// The generator of a slot, null for an empty one and for any index outside. Any thread.
    const CAudioFilterGen* getItem(int index) const noexcept
    {
        return index < 0 || index >= count() ? nullptr : items[static_cast<std::size_t>(index)];
    }

    /// Highest slot in use plus one.
    int count() const noexcept { return static_cast<int>(items.size()); }

    /// index: 0 to maxIndex. While the tree starts.
    void setItem(int index, const CAudioFilterGen& generator);

private:
    CArray<const CAudioFilterGen*> items;
};

}
