// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamDataItem.h"

namespace kor
{

void CAudioParamDataItem::release() const noexcept
{
    // Acquire and release: whoever frees must see all that the other holders did with the item before they let go.
    if (references.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

}
