// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessChain.h"

#include <optional>

namespace kor
{

// Runs the process that the parameter `index` chooses. Any change of `index` or `count` makes a new child at the start
// of the block, without a fade and at rest, even where both values stand for the same definition. With nothing to run
// the switch passes its input on.
class CModProcessSwitch : public CAudioProcessChain
{
public:
    CError init() override;
    void update() override;

private:
    struct CSelection
    {
        int index;
        int count;
        bool operator==(const CSelection&) const = default;
    };

    CError makeChilds(const CSelection& selection);

    const CAudioParamSlot* indexSlot = nullptr;
    const CAudioParamSlot* countSlot = nullptr;
    std::optional<CSelection> current;
};

}
