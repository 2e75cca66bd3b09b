// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterGenArray.h"
#include "Audio/Graph/CAudioProcessDefBase.h"

namespace kor
{

// What the definitions of recursive and FIR filters have in common: the array that the parameter `index` chooses the
// generator from, and which of the node's parameters are design parameters, in the order of their declaration.
class CModFilterDefBase : public CAudioProcessDefBase
{
public:
    /// "The 'gen-array' '%1' not found."
    CError init() override;
    CError initChilds() override;

    const CAudioFilterGenArray& generators() const noexcept { return *genArray; }

    /// Names of the design parameters.
    const CAudioFilterParamNames& designNames() const noexcept { return names; }

    /// Slot number of design parameter `i`.
    int designSlot(int i) const noexcept { return designSlots[static_cast<std::size_t>(i)]; }

    /// Slot number of the parameter of this name, -1 when the node has none.
    int slotOf(std::string_view paramName) const noexcept;

protected:
    /// True for a parameter that the module itself reads, and the generators do not get.
    virtual bool isOwnParam(const CStringBuf& paramName) const;

private:
    const CAudioFilterGenArray* genArray = nullptr;     // set once init has succeeded
    CAudioFilterParamNames names;
    CArray<int> designSlots;
};

}
