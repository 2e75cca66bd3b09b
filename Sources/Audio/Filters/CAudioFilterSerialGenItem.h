// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterGen.h"

namespace kor
{

/// One link of a cascade (`audio:fltgen-serial-item`): a generator and what its parameters are multiplied by.
class CAudioFilterSerialGenItem : public CObject
{
public:
    CError init() override;

    const CAudioFilterGen& generator() const noexcept { return *source; }

    /// Multiplier of value number `index`; 1 beyond the list.
    double multiplier(std::size_t index) const noexcept { return index < adjust.size() ? adjust[index] : 1.0; }

private:
    const CAudioFilterGen* source = nullptr;        // set once init has succeeded
    CArray<double> adjust;
};

}
