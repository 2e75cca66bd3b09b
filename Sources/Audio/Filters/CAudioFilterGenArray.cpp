// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CAudioFilterGenArray.h"

namespace kor
{

void CAudioFilterGenArray::setItem(int index, const CAudioFilterGen& generator)
{
    if (index >= count())
        items.resize(static_cast<std::size_t>(index) + 1, nullptr);
    items[static_cast<std::size_t>(index)] = &generator;
}

}
