// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessDefBase.h"
#include "Audio/Graph/CAudioProcessTerminalBase.h"

namespace kor
{

/// Definition of a node with modules that has no attributes of its own: it makes a `Process`.
template <class Process>
class CAudioProcessTerminalDef : public CAudioProcessDefBase
{
public:
    std::unique_ptr<CAudioProcessBase> createObject() const override { return std::make_unique<Process>(); }
};

}
